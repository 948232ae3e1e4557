// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/AfcClient.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillbox::device {

AfcClient::AfcClient(std::unique_ptr<ServiceConnection> connection,
                     std::function<void(const std::string&)> onBroken)
    : connection_{std::move(connection)},
      stream_{connection_->stream()},
      breaker_{stream_.breaker()},
      onBroken_{std::move(onBroken)} {}

void AfcClient::breakNow() {
    broken_ = true;
    breaker_.breakNow();
}

AFCError AfcClient::breakFor(const std::string& reason) {
    Lock lock{mutex_};
    broke(reason);
    return ended(lock);
}

/// Under the lock, so that no request that waits for its turn goes out any more.
bool AfcClient::broke(const std::string& reason) {
    if (!broken_.exchange(true)) {
        reason_ = reason;
    }
    breaker_.breakNow();
    return false;
}

AFCError AfcClient::ended(Lock& lock) {
    for (; first_ != end_; ++first_) {
        AfcInFlight& each = oldest();
        if (each.outstanding) {
            --each.outstanding->requests;
            each.outstanding->bytes -= each.bytes;
            if (each.outstanding->firstFailure == kAFCSuccess) {
                each.outstanding->firstFailure = kAFCConnectionLost;
                each.outstanding->failedOperation = each.operation;
            }
        }
        if (each.answer != nullptr) {
            each.answer->error = kAFCConnectionLost;
            each.answer->done.store(true, std::memory_order_release);
        }
        each = {};
    }
    outgoing_.clear();
    const std::string reason = std::exchange(reason_, {});
    lock.unlock();
    if (!reason.empty()) {
        onBroken_(reason);
    }
    return kAFCConnectionLost;
}

AfcInFlight& AfcClient::enqueue(wire::AfcOperation operation, wire::ByteView parameters,
                                std::size_t dataLength) {
    wire::appendAfcHead(outgoing_, ++packetNumber_, operation, parameters, dataLength);
    AfcInFlight& added = inFlight_[end_++ % kMaxInFlight];
    added.number = packetNumber_;
    added.operation = operation;
    added.bytes = dataLength;
    return added;
}

void AfcClient::answered() {
    AfcInFlight& request = oldest();
    if (request.outstanding) {
        --request.outstanding->requests;
        request.outstanding->bytes -= request.bytes;
        request.outstanding.reset();
    }
    if (request.answer != nullptr) {
        request.answer->done.store(true, std::memory_order_release);
        request.answer = nullptr;
    }
    request.keep.reset();
    ++first_;
}

/// Takes in what has arrived. False: the connection broke.
bool AfcClient::takeAnswers() {
    while (first_ != end_) {
        switch (reader_.step(stream_, oldest())) {
        case AfcAnswerReader::Step::Answered:
            answered();
            break;
        case AfcAnswerReader::Step::NothingThere:
            return true;
        case AfcAnswerReader::Step::Broken:
            return broke(reader_.reason());
        }
    }
    return true;
}

/// Sends what is put down, and `data` behind it. Answers that arrive meanwhile are taken in: a
/// device may want to be rid of them before it takes more.
bool AfcClient::transmit(wire::ByteView data) {
    wire::ByteView head = outgoing_;
    auto since = std::chrono::steady_clock::now();
    while (!head.empty() || !data.empty()) {
        std::size_t moved = 0;
        if (!stream_.sendSome(head, data, moved)) {
            return broke(stream_.error());
        }
        if (moved > 0) {
            const std::size_t ofHead = std::min(moved, head.size());
            head = head.subspan(ofHead);
            data = data.subspan(moved - ofHead);
            since = std::chrono::steady_clock::now();
            continue;
        }
        if (!stream_.waitForMore(true, since)) {
            return broke(stream_.error());
        }
        if (!takeAnswers()) {
            return false;
        }
        if (reader_.tookMoved()) {
            since = std::chrono::steady_clock::now();
        }
    }
    outgoing_.clear();
    return true;
}

/// Takes answers in until the condition holds. False: the connection broke.
template <typename Condition>
bool AfcClient::takeUntil(Condition condition) {
    auto since = std::chrono::steady_clock::now();
    while (!condition()) {
        if (first_ == end_) {
            return broke("an answer was lost");
        }
        switch (reader_.step(stream_, oldest())) {
        case AfcAnswerReader::Step::Answered:
            answered();
            since = std::chrono::steady_clock::now();
            break;
        case AfcAnswerReader::Step::NothingThere:
            if (reader_.tookMoved()) {
                since = std::chrono::steady_clock::now();
            }
            if (!stream_.waitForMore(false, since)) {
                return broke(stream_.error());
            }
            break;
        case AfcAnswerReader::Step::Broken:
            return broke(reader_.reason());
        }
    }
    return true;
}

bool AfcClient::makeRoom() {
    return end_ - first_ < kMaxInFlight ||
           (transmit({}) && takeUntil([this] { return end_ - first_ < kMaxInFlight; }));
}

AFCError AfcClient::ask(wire::AfcOperation operation, wire::ByteView parameters, AfcAnswer& answer,
                        const Behind* behind) {
    Lock lock{mutex_};
    if (broken_ || !makeRoom()) {
        return ended(lock);
    }
    enqueue(operation, parameters, 0).answer = &answer;
    if (behind != nullptr) {
        putAhead(*behind);
    }
    if (!transmit({}) || !takeUntil([&] { return answer.done.load(); })) {
        return ended(lock);
    }
    return answer.error;
}

AFCError AfcClient::perform(wire::AfcOperation operation, const wire::AfcParameters& parameters) {
    if (!parameters.valid()) {
        return kAFCInvalidArgument;
    }
    AfcAnswer answer;
    return ask(operation, parameters.bytes(), answer);
}

void AfcClient::putAhead(const Behind& request) {
    // What does not fit is not asked ahead: half of the room is for what must be asked.
    if (end_ - first_ >= kMaxInFlight / 2) {
        request.answer->done.store(true, std::memory_order_release);
        return;
    }
    AfcInFlight& added = enqueue(request.operation, request.parameters, 0);
    added.answer = request.answer.get();
    added.keep = request.answer;
}

void AfcClient::askAhead(wire::AfcOperation operation, wire::ByteView parameters,
                         const std::shared_ptr<AfcAnswer>& answer) {
    const Lock lock{mutex_};
    if (broken_) {
        answer->done.store(true, std::memory_order_release);
        return;
    }
    putAhead({operation, parameters, answer});
}

void AfcClient::sendAhead() {
    Lock lock{mutex_};
    if (broken_ || !transmit({})) {
        ended(lock);
    }
}

AFCError AfcClient::collect(const std::shared_ptr<AfcAnswer>& answer) {
    if (answer->done.load(std::memory_order_acquire)) {
        return answer->error;
    }
    Lock lock{mutex_};
    if (broken_ || !transmit({}) || !takeUntil([&] { return answer->done.load(); })) {
        return ended(lock);
    }
    return answer->error;
}

void AfcClient::takeArrived() {
    Lock lock{mutex_, std::try_to_lock};
    if (!lock || broken_ || first_ == end_) {
        return;
    }
    switch (reader_.step(stream_, oldest())) {
    case AfcAnswerReader::Step::Answered:
        answered();
        break;
    case AfcAnswerReader::Step::NothingThere:
        break;
    case AfcAnswerReader::Step::Broken:
        broke(reader_.reason());
        ended(lock);
    }
}

AFCError AfcClient::putBehind(wire::AfcOperation operation, wire::ByteView parameters,
                              const std::shared_ptr<AfcOutstanding>& outstanding) {
    Lock lock{mutex_};
    if (broken_ || !makeRoom()) {
        return ended(lock);
    }
    enqueue(operation, parameters, 0).outstanding = outstanding;
    ++outstanding->requests;
    return kAFCSuccess;
}

AFCError AfcClient::sendBehind(wire::AfcOperation operation, wire::ByteView parameters,
                               wire::ByteView data,
                               const std::shared_ptr<AfcOutstanding>& outstanding) {
    Lock lock{mutex_};
    if (broken_ || !makeRoom()) {
        return ended(lock);
    }
    AfcInFlight& added = enqueue(operation, parameters, data.size());
    added.outstanding = outstanding;
    if (outstanding) {
        ++outstanding->requests;
        outstanding->bytes += data.size();
    }
    return transmit(data) ? AFCError{kAFCSuccess} : ended(lock);
}

AFCError AfcClient::settle(const std::shared_ptr<AfcOutstanding>& outstanding, std::size_t bytes) {
    Lock lock{mutex_};
    if (broken_ && outstanding->requests > 0) {
        ended(lock);
        lock.lock();
    }
    const auto isSettled = [&] {
        return outstanding->bytes <= bytes && (bytes > 0 || outstanding->requests == 0);
    };
    if (!isSettled() && !(transmit({}) && takeUntil(isSettled))) {
        ended(lock);
        lock.lock();
    }
    return std::exchange(outstanding->firstFailure, AFCError{kAFCSuccess});
}

}  // namespace quillbox::device
