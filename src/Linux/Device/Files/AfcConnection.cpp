// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/AfcConnection.h"

#include "Linux/Device/Lockdown/HomeScreen.h"

#include <atomic>
#include <utility>

namespace quillbox::device {

AfcConnection::AfcConnection(std::shared_ptr<Device> device, FileService service, OnLost onLost)
    : device_{std::move(device)}, onLost_{std::move(onLost)}, service_{std::move(service)} {}

bool AfcConnection::isDocumentsOnly() {
    const std::lock_guard lock{mutex_};
    return documentsOnly_;
}

namespace {

/// Whether the service on a connection answers at all. One that hangs is started and connected to
/// all the same.
Failure answers(AfcClient& client) {
    AfcAnswer answer;
    answer.expected = wire::AfcOperation::Data;
    answer.collects = true;
    client.ask(wire::AfcOperation::DeviceInfo, {}, answer);  // a refusal is an answer too
    return client.isBroken() ? Failure{FailureKind::NoAnswer, "its file service does not answer"}
                             : Failure{};
}

}  // namespace

Failure AfcConnection::connectLocked(Lock& lock, std::chrono::milliseconds noProgress,
                                     bool isAskedFirst) {
    opening_ = true;
    FileService service = service_;
    lock.unlock();
    std::unique_ptr<ServiceConnection> connection;
    Failure failure = openFileService(*device_, service, noProgress, connection);
    std::shared_ptr<AfcClient> client;
    if (!failure) {
        ByteStream& stream = connection->stream();
        const auto isInUse = std::make_shared<std::atomic<bool>>(false);
        client = std::make_shared<AfcClient>(
            std::move(connection), [weak = weak_from_this(), isInUse](const std::string& reason) {
                const auto self = *isInUse ? weak.lock() : nullptr;
                if (self && !self->isClosed()) {
                    if (self->device_->isAttached()) {
                        self->device_->platform().warning(
                            self->device_->label() + ": the connection to " +
                            self->service_.describe() + " broke: " + reason + ".");
                    }
                    self->onLost_(self);
                }
            });
        if (isAskedFirst) {
            stream.setNoProgress(noProgress);
            failure = answers(*client);
        }
        stream.setNoProgress(device_->options().noProgress);
        *isInUse = true;
    }
    lock.lock();
    opening_ = false;
    failing_ = static_cast<bool>(failure);
    nextTry_ = Clock::now() + device_->options().reopenPause;
    if (!failure) {
        service_.documentsOnly = service.documentsOnly;
        documentsOnly_ = service.documentsOnly;
        client_ = std::move(client);
        window_ = std::make_shared<InformationWindow>();
        ++generation_;
        if (closed_) {
            client_->breakNow();
        }
    }
    opened_.notify_all();
    return failure;
}

Failure AfcConnection::open() {
    Lock lock{mutex_};
    return connectLocked(lock, device_->options().noProgress, /*isAskedFirst=*/false);
}

Failure AfcConnection::reopen(Lock& lock) {
    if (opening_) {
        if (failing_) {
            return {FailureKind::NotReachable, "the connection is being opened again"};
        }
        opened_.wait(lock, [this] { return !opening_; });
        return isUsable() ? Failure{} : Failure{FailureKind::NotReachable, "it cannot be opened"};
    }
    if (failing_ && Clock::now() < nextTry_) {
        return {FailureKind::NotReachable, "it could not be opened a moment ago"};
    }
    if (client_) {
        client_->breakNow();
    }
    Failure failure = connectLocked(lock, device_->options().reopenNoProgress,
                                    /*isAskedFirst=*/true);
    if (closed_) {
        return {FailureKind::NotAttached, "the connection was closed"};
    }
    if (!failure) {
        device_->noteReached();
        device_->platform().info(device_->label() + ": the connection to " + service_.describe() +
                                 " is open again.");
    }
    return failure;
}

AFCError AfcConnection::use(Use& use) {
    Lock lock{mutex_};
    if (closed_ || !device_->isAttached()) {
        return kAFCConnectionLost;
    }
    if (!isUsable()) {
        if (reopen(lock)) {
            lock.unlock();
            if (device_->isAttached()) {
                onLost_(shared_from_this());
            }
            return kAFCConnectionLost;
        }
        if (closed_) {
            return kAFCConnectionLost;
        }
    }
    use = {client_, window_, generation_};
    return kAFCSuccess;
}

std::shared_ptr<AfcClient> AfcConnection::clientAtHand() {
    const std::lock_guard lock{mutex_};
    return client_;
}

std::shared_ptr<AfcClient> AfcConnection::sameClient(std::uint64_t generation) {
    {
        const std::lock_guard lock{mutex_};
        if (generation != generation_ || closed_ || !client_ || client_->isBroken()) {
            return nullptr;
        }
        if (client_->isAlive()) {
            return client_;
        }
        client_->breakNow();
    }
    if (device_->isAttached()) {
        onLost_(shared_from_this());
    }
    return nullptr;
}

std::shared_ptr<InformationWindow> AfcConnection::window(std::uint64_t generation) {
    const std::lock_guard lock{mutex_};
    return generation == generation_ ? window_ : nullptr;
}

Failure AfcConnection::recover() {
    Lock lock{mutex_};
    if (closed_ || !device_->isAttached()) {
        return {FailureKind::NotAttached, "the connection was closed"};
    }
    return isUsable() ? Failure{} : reopen(lock);
}

void AfcConnection::close() {
    const std::lock_guard lock{mutex_};
    closed_ = true;
    if (client_) {
        client_->breakNow();
    }
    opened_.notify_all();
}

bool AfcConnection::isClosed() {
    const std::lock_guard lock{mutex_};
    return closed_;
}

std::shared_ptr<const wire::Bytes> AfcConnection::picture() {
    const std::lock_guard lock{pictureMutex_};
    if (!picture_) {
        auto bytes = std::make_shared<wire::Bytes>();
        const Failure failure = readHomeScreenPicture(*device_, service_.bundleIdentifier, *bytes);
        if (isLost(failure.kind)) {
            return nullptr;  // asked again next time
        }
        picture_ = failure || bytes->empty() ? nullptr : std::move(bytes);
    }
    return *picture_;
}

}  // namespace quillbox::device
