// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace quillbox::simulator {

/// How many requests of each kind have come in, by device. Requests of the multiplexer that concern
/// no device are counted under "-". Thread-safe.
class Counters {
public:
    /// Counted beside the requests: how often a client of the file service spoke after it had all
    /// its answers, that is how often it waited for the link.
    static constexpr std::string_view kRoundTrips = "round-trips";
    static constexpr std::string_view kNoDevice = "-";

    void count(std::string_view device, std::string_view kind);
    void reset();

    /// Device, kind, number; kinds that have not come in are left out.
    [[nodiscard]] std::map<std::string, std::map<std::string, std::uint64_t>> snapshot() const;

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::map<std::string, std::uint64_t>> counts_;
};

}  // namespace quillbox::simulator
