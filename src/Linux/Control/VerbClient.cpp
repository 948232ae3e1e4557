// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/VerbClient.h"

#include "Linux/Control/Frames.h"
#include "Linux/Control/LocalSocket.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <thread>

namespace quillbox::control {

namespace {

using Clock = std::chrono::steady_clock;
using Ending = CallResult::Kind;

constexpr std::chrono::milliseconds kPause{20};

/// Waits until the socket is ready; false when the time is over.
bool waitFor(const Descriptor& socket, short events, Clock::time_point deadline) {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd source{socket.number(), events, 0};
        if (::poll(&source, 1, static_cast<int>(left.count())) > 0) {
            return true;
        }
    }
}

CallResult notReached(std::string error) {
    return {Ending::NotReached, {}, std::move(error)};
}

CallResult receive(const Descriptor& socket, Clock::time_point deadline) {
    FrameReader reader(kLongestAnswer, kMostAnswerTexts);
    std::array<char, 16384> buffer{};
    while (!reader.texts()) {
        if (!waitFor(socket, POLLIN, deadline)) {
            return notReached("the running Quillbox does not answer");
        }
        const auto count = ::recv(socket.number(), buffer.data(), buffer.size(), 0);
        if (count == 0 || (count < 0 && errno == ECONNRESET)) {
            return {Ending::Ended, {}, "the running Quillbox ended before it answered"};
        }
        if (count < 0 && errno != EAGAIN && errno != EINTR) {
            return notReached(std::strerror(errno));
        }
        if (count > 0 && !reader.add({buffer.data(), static_cast<std::size_t>(count)})) {
            return notReached("the running Quillbox gave a malformed answer");
        }
    }
    const auto answer = answerFrom(*reader.texts());
    return answer ? CallResult{Ending::Answered, *answer, {}}
                  : notReached("the running Quillbox gave a malformed answer");
}

}  // namespace

CallResult call(const Instance& instance, const Request& request,
                std::chrono::milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    const std::string& path = instance.socketPath;
    std::unique_ptr<Descriptor> socket;
    while (!(socket = connectTo(path))) {
        const int error = errno;
        if (!isRunning(instance)) {
            return {Ending::Ended, {}, "the running Quillbox has ended"};
        }
        // It starts, it ends, or many are at it already.
        const bool mayChange = error == EAGAIN || error == ENOENT || error == ECONNREFUSED;
        if (!mayChange || Clock::now() >= deadline) {
            return notReached("the running Quillbox cannot be reached at " + path + ": " +
                              std::strerror(error));
        }
        std::this_thread::sleep_for(kPause);
    }
    if (!isTrustedPeer(*socket)) {
        return notReached("the program at " + path + " belongs to somebody else");
    }
    std::string message = encodeFrame(toTexts(request));
    while (!message.empty()) {
        if (!waitFor(*socket, POLLOUT, deadline)) {
            return notReached("the running Quillbox does not answer");
        }
        const auto count = ::send(socket->number(), message.data(), message.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EAGAIN && errno != EINTR) {
            break;  // It may have said why before it closed.
        }
        message.erase(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return receive(*socket, deadline);
}

}  // namespace quillbox::control
