// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace quillbox::device {

/// What the roster concludes. Called on the thread that feeds it.
class RosterEvents {
public:
    virtual ~RosterEvents() = default;

    /// Comes right before `arrived`: the multiplexer's number and the number of the model.
    virtual void willArrive(const std::string& /*udid*/, std::uint32_t /*number*/,
                            std::uint32_t /*productId*/) {}

    virtual void arrived(const std::string& udid) = 0;
    virtual void departed(const std::string& udid) = 0;
    /// It was paired with this computer, by whomever.
    virtual void paired(const std::string& udid) = 0;
    /// It is still attached and reached on another number from now on.
    virtual void pathChanged(const std::string& udid) = 0;
    /// Whether a connection to the device itself is alive.
    virtual bool hasLiveConnection(const std::string& udid) = 0;
};

/// Which devices are attached, told from the multiplexer's messages. A device is known by its
/// identifier: the multiplexer's numbers begin anew when it does, and a device that is reached by
/// cable and by network has two. One thread.
class DeviceRoster {
public:
    using Clock = std::chrono::steady_clock;

    DeviceRoster(RosterEvents& events, std::chrono::milliseconds grace)
        : events_{events}, grace_{grace} {}

    void attached(std::uint32_t number, const std::string& udid, bool byCable,
                  std::uint32_t productId = 0);
    void detached(std::uint32_t number);
    void paired(std::uint32_t number);

    /// The multiplexer went away: no message says which of its devices did. They are missing from
    /// now on, until they are announced again or have been missing for too long.
    void connectionEnded(Clock::time_point now);
    /// It is back, and begins to announce.
    void connectionBegan(Clock::time_point now);
    /// Concludes departures whose time has come. To be called often while something is missing.
    void tick(Clock::time_point now);

    /// When `tick` is due, if anything is missing.
    std::optional<Clock::time_point> due() const { return due_; }

private:
    struct Path {
        std::string udid;
        bool byCable = false;
    };

    std::optional<std::uint32_t> best(const std::string& udid) const;
    void remove(std::uint32_t number);

    RosterEvents& events_;
    const std::chrono::milliseconds grace_;
    std::map<std::uint32_t, Path> paths_;
    std::set<std::uint32_t> pairedEarly_;  ///< numbers that were paired before they were announced
    std::set<std::string> missing_;
    std::optional<Clock::time_point> due_;
    bool connected_ = false;
};

}  // namespace quillbox::device
