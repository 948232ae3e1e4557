// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Linux/Device/Files/AfcAnswer.h"
#include "Linux/Device/Files/FileNumbers.h"
#include "Linux/Device/Streams/ServiceConnection.h"
#include "Wire/AfcLists.h"
#include "Wire/AfcParameters.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::device {

/// Most names of one directory.
inline constexpr std::size_t kMaxNames = 2'000'000;
/// Most bytes moved by one request; longer transfers take several.
inline constexpr std::size_t kMaxTransfer = 1U << 20U;

/// The parameters of a request that has words only, without any memory of their own.
template <typename... Words>
std::array<std::byte, sizeof...(Words) * sizeof(std::uint64_t)> words(Words... values) {
    std::array<std::byte, sizeof...(Words) * sizeof(std::uint64_t)> bytes{};
    std::size_t at = 0;
    (
        [&](std::uint64_t value) {
            wire::storeLittle(std::span{bytes}.subspan(at), value);
            at += sizeof value;
        }(values),
        ...);
    return bytes;
}

/// AFC over one connection. Requests go out in the order of the calls and answers come in the same
/// order; a call may wait for its answer, or leave it to be collected by whoever waits next. Any
/// thread. Whatever a device answers, a call ends with success or a failure; an answer that is
/// malformed, short, oversized, to another request, or that does not come in time breaks the
/// connection, and so do all later calls fail at once.
///
/// There is no thread that reads: answers are taken in while a call waits or while its bytes do
/// not go out, so that a device that first wants to be rid of its answers is never waited for.
class AfcClient {
public:
    /// `onBroken` is called once, with the reason, when the connection breaks by itself: on the
    /// thread of the call that noticed, with no lock of the client held.
    AfcClient(std::unique_ptr<ServiceConnection> connection,
              std::function<void(const std::string&)> onBroken);

    /// A further request that travels with one that is waited for, right behind it. Its answer is
    /// collected later.
    struct Behind {
        wire::AfcOperation operation = wire::AfcOperation::FileInfo;
        wire::ByteView parameters;
        std::shared_ptr<AfcAnswer> answer;
    };

    /// Sends a request and waits for its answer.
    AFCError ask(wire::AfcOperation operation, wire::ByteView parameters, AfcAnswer& answer,
                 const Behind* behind = nullptr);
    /// A request that is answered by a status.
    AFCError perform(wire::AfcOperation operation, const wire::AfcParameters& parameters);

    /// Puts a request down to be sent with the next one or by `sendAhead`. Its answer is collected
    /// later, or never: its asker just lets go of it. Where it cannot be asked the answer is done
    /// at once, with `kAFCConnectionLost`.
    void askAhead(wire::AfcOperation operation, wire::ByteView parameters,
                  const std::shared_ptr<AfcAnswer>& answer);
    /// Sends what was put down. Without waiting for any answer.
    void sendAhead();
    /// Waits for the answer to a request that was put down.
    AFCError collect(const std::shared_ptr<AfcAnswer>& answer);
    /// Takes in what has arrived of the oldest answer, where no other thread is at it. Never waits.
    void takeArrived();

    /// Puts a request down that is answered by a status, which goes to `outstanding`.
    AFCError putBehind(wire::AfcOperation operation, wire::ByteView parameters,
                       const std::shared_ptr<AfcOutstanding>& outstanding);
    /// Sends a request that is answered by a status, which goes to `outstanding`; null where
    /// nobody wants to know it. `data` has been taken when this returns.
    AFCError sendBehind(wire::AfcOperation operation, wire::ByteView parameters,
                        wire::ByteView data, const std::shared_ptr<AfcOutstanding>& outstanding);
    /// Waits until no more than `bytes` of data and, where that is 0, no request of `outstanding`
    /// is unanswered; answers their first failure so far, once.
    AFCError settle(const std::shared_ptr<AfcOutstanding>& outstanding, std::size_t bytes);

    /// For what is found wrong in an answer after it was taken.
    AFCError breakFor(const std::string& reason);

    /// The numbers of the files that are open on this connection.
    FileNumbers& fileNumbers() { return fileNumbers_; }

    bool isBroken() const { return broken_; }

    /// Whether the other side has not ended the connection, as far as is known without asking.
    bool isAlive() { return !broken_ && breaker_.isOpen(); }

    /// Ends the connection from any thread: the call in flight and all later ones fail.
    void breakNow();

private:
    using Lock = std::unique_lock<std::mutex>;

    /// Room for what is in flight together; more waits for answers first.
    static constexpr std::size_t kMaxInFlight = 2048;

    AfcInFlight& enqueue(wire::AfcOperation operation, wire::ByteView parameters,
                         std::size_t dataLength);
    bool makeRoom();
    void putAhead(const Behind& request);
    bool transmit(wire::ByteView data);
    bool takeAnswers();
    template <typename Condition>
    bool takeUntil(Condition condition);
    void answered();
    bool broke(const std::string& reason);
    /// Drops all that is in flight and tells `onBroken` where that is due.
    AFCError ended(Lock& lock);

    AfcInFlight& oldest() { return inFlight_[first_ % kMaxInFlight]; }

    std::unique_ptr<ServiceConnection> connection_;
    ByteStream& stream_;
    SocketBreaker& breaker_;
    const std::function<void(const std::string&)> onBroken_;
    FileNumbers fileNumbers_;
    std::mutex mutex_;  ///< guards what follows
    AfcAnswerReader reader_;
    wire::Bytes outgoing_;  ///< heads that have not been sent
    std::vector<AfcInFlight> inFlight_ = std::vector<AfcInFlight>(kMaxInFlight);
    std::size_t first_ = 0;  ///< the oldest request that is not answered
    std::size_t end_ = 0;    ///< behind the youngest
    std::uint64_t packetNumber_ = 0;
    std::string reason_;  ///< of the break, until it is told
    std::atomic<bool> broken_{false};
};

}  // namespace quillbox::device
