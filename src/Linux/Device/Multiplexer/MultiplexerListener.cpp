// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Multiplexer/MultiplexerListener.h"

#include "Linux/Device/Streams/PropertyLists.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace quillbox::device {

namespace {

constexpr std::uint32_t kTag = 1;
/// Pauses between two tries to reach the multiplexer.
constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{1'000};

PropertyDictionary question(const char* type) {
    return {{"MessageType", type},
            {"ClientVersionString", "quillbox"},
            {"ProgName", "quillbox"},
            {"kLibUSBMuxVersion", 3}};
}

}  // namespace

MultiplexerListener::MultiplexerListener(RosterEvents& events,
                                         std::shared_ptr<PlatformLink> platform,
                                         const DeviceOptions& options)
    : platform_{std::move(platform)},
      options_{options},
      address_{multiplexerAddress()},
      roster_{events, options.multiplexerGrace},
      wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)},
      pause_{kFirstPause} {}

MultiplexerListener::~MultiplexerListener() {
    stop();
    if (wake_ >= 0) {
        close(wake_);
    }
}

void MultiplexerListener::start() {
    if (!thread_.joinable() && !stopping_) {
        thread_ = std::thread{[this] {
            pthread_setname_np(pthread_self(), "device listener");
            run();
        }};
    }
}

void MultiplexerListener::stop() {
    stopping_ = true;
    if (thread_.joinable()) {
        eventfd_write(wake_, 1);
        thread_.join();
    }
}

void MultiplexerListener::run() {
    while (!stopping_) {
        const auto now = Clock::now();
        if (!listening_.socket && now >= nextTry_) {
            startListening();
        }
        if (listening_.answered && !check_.socket && now >= nextCheck_) {
            startCheck();
        }
        poll();
        if (stopping_) {
            break;
        }
        serveListening();
        serveCheck();
        roster_.tick(Clock::now());
    }
}

MultiplexerListener::Clock::time_point MultiplexerListener::nextEvent() const {
    auto next = Clock::now() + options_.multiplexerCheck;
    if (!listening_.socket) {
        next = std::min(next, nextTry_);
    } else if (!listening_.answered) {
        next = std::min(next, listening_.deadline);
    } else if (!check_.socket) {
        next = std::min(next, nextCheck_);
    }
    if (check_.socket) {
        next = std::min(next, check_.deadline);
    }
    return std::min(next, roster_.due().value_or(next));
}

void MultiplexerListener::poll() {
    std::array<pollfd, 3> entries{pollfd{wake_, POLLIN, 0}, pollfd{-1, 0, 0}, pollfd{-1, 0, 0}};
    if (listening_.socket) {
        entries[1] = {listening_.socket->descriptor(), listening_.socket->events(), 0};
    }
    if (check_.socket) {
        entries[2] = {check_.socket->descriptor(), check_.socket->events(), 0};
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(nextEvent() - Clock::now()).count();
    ::poll(entries.data(), entries.size(), static_cast<int>(std::max<std::int64_t>(left, 0)));
}

void MultiplexerListener::startListening() {
    std::string error;
    listening_ = {MultiplexerSocket::connect(address_, error),
                  Clock::now() + options_.multiplexerAnswer, false};
    if (!listening_.socket) {
        // A full queue is the sign of one that accepts no more.
        listeningEnded(error == kQueueFull ? Health::Silent : Health::NotRunning, error);
        return;
    }
    listening_.socket->send(question("Listen"), kTag);
}

void MultiplexerListener::startCheck() {
    std::string error;
    check_ = {MultiplexerSocket::connect(address_, error),
              Clock::now() + options_.multiplexerAnswer, false};
    nextCheck_ = Clock::now() + options_.multiplexerCheck;
    if (check_.socket) {
        check_.socket->send(question("ReadBUID"), kTag);
    }
}

void MultiplexerListener::listeningEnded(Health health, const std::string& reason) {
    const bool wasListening = listening_.answered;
    listening_ = {};
    check_ = {};
    setHealth(health, reason);
    if (wasListening) {
        roster_.connectionEnded(Clock::now());
        pause_ = kFirstPause;
    }
    nextTry_ = Clock::now() + pause_;
    pause_ = std::min(pause_ * 2, kLongestPause);
}

void MultiplexerListener::serveListening() {
    if (!listening_.socket) {
        return;
    }
    const bool goesOn = listening_.socket->move();
    while (const auto message = listening_.socket->next()) {
        handle(*message);
        if (!listening_.socket) {
            return;
        }
    }
    if (!goesOn || listening_.socket->isOver()) {
        listeningEnded(Health::NotRunning, std::string{listening_.socket->error()});
    } else if (!listening_.answered && Clock::now() >= listening_.deadline) {
        listeningEnded(Health::Silent, "no answer");
    }
}

void MultiplexerListener::serveCheck() {
    if (!check_.socket) {
        return;
    }
    const bool goesOn = check_.socket->move();
    if (check_.socket->next()) {
        check_ = {};
        if (health_ == Health::Silent) {
            // What it had to say meanwhile may be lost: it is asked for everything anew.
            listeningEnded(Health::Answers, {});
            nextTry_ = Clock::now();
        }
    } else if (!goesOn) {
        check_ = {};
    } else if (Clock::now() >= check_.deadline) {
        check_ = {};
        setHealth(Health::Silent, "no answer");
    }
}

void MultiplexerListener::handle(const MultiplexerSocket::Message& message) {
    const std::string type = textOf(message.values, "MessageType").value_or("");
    const PropertyValue* id = find(message.values, "DeviceID");
    const auto number = static_cast<std::uint32_t>(id == nullptr ? 0 : id->integerValue());
    if (type == "Result") {
        const PropertyValue* result = find(message.values, "Number");
        if (result == nullptr || result->integerValue() != 0) {
            listeningEnded(Health::NotRunning, "it refuses to tell of devices");
            return;
        }
        listening_.answered = true;
        pause_ = kFirstPause;
        nextCheck_ = Clock::now() + options_.multiplexerCheck;
        setHealth(Health::Answers, {});
        roster_.connectionBegan(Clock::now());
    } else if (type == "Attached") {
        const PropertyValue* value = find(message.values, "Properties");
        const PropertyDictionary* properties = value == nullptr ? nullptr : value->dictionary();
        const auto udid =
            properties == nullptr ? std::nullopt : textOf(*properties, "SerialNumber");
        if (udid && !udid->empty()) {
            const PropertyValue* product = find(*properties, "ProductID");
            roster_.attached(
                number, *udid, textOf(*properties, "ConnectionType").value_or("USB") != "Network",
                product == nullptr ? 0 : static_cast<std::uint32_t>(product->integerValue()));
        }
    } else if (type == "Detached") {
        roster_.detached(number);
    } else if (type == "Paired") {
        roster_.paired(number);
    }
}

void MultiplexerListener::setHealth(Health health, const std::string& reason) {
    if (health == health_) {
        return;
    }
    const bool wasBad = health_ == Health::NotRunning || health_ == Health::Silent;
    health_ = health;
    switch (health) {
    case Health::NotRunning:
        platform_->warning("The device service is not running: " + reason + " (" + address_ +
                           "). It is waited for.");
        break;
    case Health::Silent:
        platform_->warning("The device service accepts connections and does not answer (" +
                           address_ + "). It may have to be started anew; it is waited for.");
        break;
    case Health::Answers:
        if (wasBad) {
            platform_->info("The device service is back.");
        }
        break;
    case Health::Unknown:
        break;
    }
}

}  // namespace quillbox::device
