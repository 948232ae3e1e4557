// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Lockdown/Failure.h"
#include "Linux/Device/Lockdown/PairingRecord.h"
#include "Linux/Device/Streams/ServiceConnection.h"

#include "Core/Platform/PropertyList.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace quillbox::device {

/// The device that a conversation is with. Any thread.
class LockdownPeer {
public:
    LockdownPeer(const LockdownPeer&) = delete;
    LockdownPeer& operator=(const LockdownPeer&) = delete;

    virtual const std::string& udid() const = 0;
    /// False once it left or everything stops.
    virtual bool isAttached() const = 0;
    /// Opens a connection to a port of the device, in the clear. Blocks: the multiplexer's answer,
    /// 5 s at most.
    virtual Failure connect(std::uint16_t port, std::chrono::milliseconds noProgress,
                            std::unique_ptr<ServiceConnection>& connection) = 0;
    /// What it calls itself; an empty text where it does not say.
    virtual void setName(const std::string& name, const std::string& serialNumber) = 0;

protected:
    LockdownPeer() = default;
    ~LockdownPeer() = default;
};

/// The one conversation with a device's lockdown service: connection, session, values, service
/// starts. It is opened when it is first needed and opened again when the device ended it while it
/// was idle, as devices do. Any thread; questions go out one after the other. Every operation
/// blocks for the device, bounded by `noProgress` a question.
class LockdownLink {
public:
    /// The device must outlive this.
    explicit LockdownLink(LockdownPeer& device) : device_{device} {}

    /// A connection to lockdown that answers.
    Failure ensureConnected(std::chrono::milliseconds noProgress);
    /// A session on it: the device trusts this computer. With devices before version 7 pairing is
    /// validated first, as they want it.
    Failure ensureSession(std::chrono::milliseconds noProgress);
    /// Ends the session; the connection stays where the device keeps it.
    Failure stopSession(std::chrono::milliseconds noProgress);
    /// Ends the connection. Nothing is asked.
    void disconnect();

    /// Whether a session is open, as far as is known without asking.
    bool hasSession();

    /// One value, or all of a domain where `key` is none. `value` stays empty where the device
    /// reports none.
    Failure getValue(const std::optional<std::string>& domain,
                     const std::optional<std::string>& key, std::chrono::milliseconds noProgress,
                     std::optional<PropertyValue>& value);

    /// Starts a service in the session and connects to it, under TLS where the device wants that.
    Failure openService(const std::string& service, std::chrono::milliseconds noProgress,
                        std::unique_ptr<ServiceConnection>& connection);

private:
    using Milliseconds = std::chrono::milliseconds;

    struct StartedService {
        std::uint16_t port = 0;
        bool tls = false;
    };

    Failure connectLocked(Milliseconds noProgress);
    Failure sessionLocked(Milliseconds noProgress);
    Failure request(PropertyDictionary request, Milliseconds noProgress, bool forService,
                    PropertyDictionary& answer);
    Failure startService(const std::string& service, Milliseconds noProgress,
                         StartedService& started);
    PropertyDictionary knownValues(Milliseconds noProgress);
    void learnName(Milliseconds noProgress);
    void closeLocked();

    LockdownPeer& device_;
    std::mutex mutex_;
    std::unique_ptr<ServiceConnection> connection_;
    std::optional<std::string> session_;  ///< its identifier
    PairingRecord record_;                ///< of the session
    bool nameKnown_ = false;
    bool isOld_ = false;  ///< before version 7
};

}  // namespace quillbox::device
