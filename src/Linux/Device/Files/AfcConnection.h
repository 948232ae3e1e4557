// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Files/AfcClient.h"
#include "Linux/Device/Files/FileService.h"
#include "Linux/Device/Files/InformationWindow.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace quillbox::device {

/// A file connection as its users see it: one number, one root, and beneath it one AFC client after
/// another, since a connection that broke is opened again by the next request as long as its device
/// stays attached. Any thread.
class AfcConnection : public std::enable_shared_from_this<AfcConnection> {
public:
    /// `onLost`: the client broke, or an attempt to replace it failed. Any thread, no lock held.
    using OnLost = std::function<void(const std::shared_ptr<AfcConnection>&)>;

    AfcConnection(std::shared_ptr<Device> device, FileService service, OnLost onLost);

    const std::shared_ptr<Device>& device() const { return device_; }

    bool isApplication() const { return service_.isApplication(); }

    bool isDocumentsOnly();

    /// Opens it for the first time. Blocks for the device.
    Failure open();

    /// A client to put one request to, and its generation: what was opened through a client is
    /// known to that generation only.
    struct Use {
        std::shared_ptr<AfcClient> client;
        std::shared_ptr<InformationWindow> window;  ///< what this client knows of files
        std::uint64_t generation = 0;
    };

    /// Gives the present client, opening the connection again where it broke. Fails at once where
    /// the last attempt failed and is less than a moment ago, or another one is under way.
    AFCError use(Use& use);
    /// The present client where it still is of that generation and not broken.
    std::shared_ptr<AfcClient> sameClient(std::uint64_t generation);

    /// The present client, as it is; null where there is none.
    std::shared_ptr<AfcClient> clientAtHand();

    /// What the client of that generation knows of files; null where it was replaced.
    std::shared_ptr<InformationWindow> window(std::uint64_t generation);

    /// Opens the connection again where it is broken. Success also where it is not.
    Failure recover();

    /// Ends it for good; a call in flight fails.
    void close();
    bool isClosed();

    /// The application's picture from the home screen, asked for once. Null where there is none.
    std::shared_ptr<const wire::Bytes> picture();

    /// Set while a background attempt to recover it is planned.
    std::atomic<bool> recovering{false};

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    Failure reopen(Lock& lock);
    Failure connectLocked(Lock& lock, std::chrono::milliseconds noProgress, bool isAskedFirst);

    bool isUsable() const { return client_ && client_->isAlive(); }

    const std::shared_ptr<Device> device_;
    const OnLost onLost_;
    std::mutex mutex_;
    std::condition_variable opened_;
    FileService service_;  ///< written only by the thread that opens
    bool documentsOnly_ = false;
    std::shared_ptr<AfcClient> client_;
    std::shared_ptr<InformationWindow> window_;  ///< of the present client
    std::uint64_t generation_ = 0;
    bool opening_ = false;
    bool failing_ = false;  ///< the last attempt failed
    Clock::time_point nextTry_{};
    bool closed_ = false;

    std::mutex pictureMutex_;
    std::optional<std::shared_ptr<const wire::Bytes>> picture_;
};

}  // namespace quillbox::device
