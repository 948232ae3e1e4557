// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/AfcClient.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quillbox::device {

namespace {

/// A status, a handle or a position is one word; more room than that is only courtesy.
constexpr std::size_t kMaxWordAnswer = 256;
constexpr AFCError kLargestStatus = 0xFF;

/// A device's status word as an answer of ours. A word that is no status must not be cut down to
/// one, success least of all.
AFCError errorOf(std::uint64_t status) {
    return status > kLargestStatus ? AFCError{kAFCUnknownError} : static_cast<AFCError>(status);
}

}  // namespace

AfcClient::AfcClient(std::unique_ptr<ServiceConnection> connection,
                     std::function<void(const std::string&)> onBroken)
    : connection_{std::move(connection)},
      breaker_{connection_->stream().breaker()},
      onBroken_{std::move(onBroken)} {}

void AfcClient::breakNow() {
    broken_ = true;
    breaker_.breakNow();
}

AFCError AfcClient::breakFor(const std::string& reason) {
    if (!broken_.exchange(true)) {
        breaker_.breakNow();
        onBroken_(reason);
    }
    return kAFCConnectionLost;
}

AFCError AfcClient::exchange(wire::AfcOperation operation, const wire::AfcParameters& parameters,
                             wire::ByteView data, Answer& answer) {
    if (!parameters.valid()) {
        return kAFCInvalidArgument;
    }
    std::string broken;
    AFCError error = kAFCConnectionLost;
    {
        const std::lock_guard lock{mutex_};
        if (broken_) {
            return kAFCConnectionLost;
        }
        error = exchangeLocked(operation, parameters, data, answer, broken);
        if (broken.empty()) {
            return error;
        }
        // Under the lock, so that no request that waits for its turn goes out any more.
        if (broken_.exchange(true)) {
            return error;
        }
        breaker_.breakNow();
    }
    onBroken_(broken);
    return error;
}

AFCError AfcClient::exchangeLocked(wire::AfcOperation operation,
                                   const wire::AfcParameters& parameters, wire::ByteView data,
                                   Answer& answer, std::string& broken) {
    const std::uint64_t number = ++packetNumber_;
    ByteStream& stream = connection_->stream();
    if (!stream.send(wire::makeAfcHead(number, operation, parameters.bytes(), data.size()), data)) {
        broken = stream.error();
        return kAFCConnectionLost;
    }
    return receiveAnswer(number, answer, broken);
}

AFCError AfcClient::receiveAnswer(std::uint64_t number, Answer& answer, std::string& broken) {
    ByteStream& stream = connection_->stream();
    std::array<std::byte, wire::kAfcHeaderSize> head{};
    if (!stream.receive(head)) {
        broken = stream.error();
        return kAFCConnectionLost;
    }
    const auto header = wire::decodeAfcHeader(head, {kMaxWordAnswer, kMaxListing});
    if (!header) {
        broken = "a malformed answer: " + std::string{wire::describe(header.error())};
        return kAFCConnectionLost;
    }
    if (header->packetNumber != number) {
        broken = "an answer to another request";
        return kAFCConnectionLost;
    }
    const std::uint64_t length = header->entireLength - wire::kAfcHeaderSize;
    if (header->operation == wire::AfcOperation::Data &&
        answer.expected == wire::AfcOperation::Data) {
        return receiveBody(length, answer, broken) ? AFCError{kAFCSuccess}
                                                   : AFCError{kAFCConnectionLost};
    }
    if (header->operation != wire::AfcOperation::Status && header->operation != answer.expected) {
        broken = "an answer of another kind";
        return kAFCConnectionLost;
    }
    std::array<std::byte, kMaxWordAnswer> body{};
    if (length < sizeof(std::uint64_t) || length > body.size()) {
        broken = "a malformed answer: a length of " + std::to_string(length);
        return kAFCConnectionLost;
    }
    if (!stream.receive(std::span{body}.first(length))) {
        broken = stream.error();
        return kAFCConnectionLost;
    }
    answer.word = wire::loadLittle<std::uint64_t>(body);
    if (header->operation == answer.expected) {
        return answer.expected == wire::AfcOperation::Status ? errorOf(answer.word)
                                                             : AFCError{kAFCSuccess};
    }
    const AFCError error = errorOf(answer.word);
    if (error == kAFCSuccess) {
        broken = "a success without what was asked for";
        return kAFCConnectionLost;
    }
    return error;
}

bool AfcClient::receiveBody(std::uint64_t length, Answer& answer, std::string& broken) {
    ByteStream& stream = connection_->stream();
    if (answer.collected == nullptr) {
        if (length > answer.into.size()) {
            broken = "more data than was asked for";
            return false;
        }
        answer.moved = length;
        if (!stream.receive(answer.into.first(length))) {
            broken = stream.error();
            return false;
        }
        return true;
    }
    // A length alone reserves no memory: the bytes must come.
    constexpr std::uint64_t kStep = 1U << 20U;
    wire::Bytes& all = *answer.collected;
    while (all.size() < length) {
        const std::size_t at = all.size();
        all.resize(std::min<std::uint64_t>(length, at + kStep));
        if (!stream.receive(std::span{all}.subspan(at))) {
            broken = stream.error();
            return false;
        }
    }
    return true;
}

AFCError AfcClient::perform(wire::AfcOperation operation, const wire::AfcParameters& parameters) {
    Answer answer;
    return exchange(operation, parameters, {}, answer);
}

AFCError AfcClient::readDirectory(const std::string& path, std::vector<std::string>& names) {
    wire::Bytes data;
    Answer answer{.expected = wire::AfcOperation::Data, .into = {}, .collected = &data};
    if (const AFCError error = exchange(wire::AfcOperation::ReadDirectory,
                                        wire::AfcParameters{}.path(path), {}, answer);
        error != kAFCSuccess) {
        return error;
    }
    auto split = wire::splitNames(data, kMaxNames);
    if (!split) {
        // A listing is whole or a failure: what came before the damage is of no use.
        return breakFor("a malformed listing: " + std::string{wire::describe(split.error())});
    }
    names = std::move(*split);
    return kAFCSuccess;
}

AFCError AfcClient::readKeyValues(wire::AfcOperation operation,
                                  const wire::AfcParameters& parameters,
                                  std::vector<wire::KeyValue>& pairs) {
    wire::Bytes data;
    Answer answer{.expected = wire::AfcOperation::Data, .into = {}, .collected = &data};
    if (const AFCError error = exchange(operation, parameters, {}, answer); error != kAFCSuccess) {
        return error;
    }
    auto split = wire::splitKeyValues(data);
    if (!split) {
        return breakFor("a malformed answer: " + std::string{wire::describe(split.error())});
    }
    pairs = std::move(*split);
    return kAFCSuccess;
}

AFCError AfcClient::openFile(const std::string& path, std::uint64_t mode, std::uint64_t& handle) {
    Answer answer{.expected = wire::AfcOperation::FileOpenResult, .into = {}};
    const AFCError error = exchange(wire::AfcOperation::FileOpen,
                                    wire::AfcParameters{}.word(mode).path(path), {}, answer);
    handle = answer.word;
    return error;
}

AFCError AfcClient::read(std::uint64_t handle, std::span<std::byte> into, std::size_t& moved) {
    moved = 0;
    while (moved < into.size()) {
        const std::size_t step = std::min(into.size() - moved, kMaxTransfer);
        Answer answer{.expected = wire::AfcOperation::Data, .into = into.subspan(moved, step)};
        const AFCError error = exchange(wire::AfcOperation::FileRead,
                                        wire::AfcParameters{}.word(handle).word(step), {}, answer);
        if (error == kAFCEndOfData) {
            return kAFCSuccess;
        }
        if (error != kAFCSuccess) {
            return error;
        }
        moved += answer.moved;
        if (answer.moved < step) {
            break;
        }
    }
    return kAFCSuccess;
}

AFCError AfcClient::write(std::uint64_t handle, wire::ByteView bytes) {
    while (!bytes.empty()) {
        const std::size_t step = std::min(bytes.size(), kMaxTransfer);
        Answer answer;
        const AFCError error =
            exchange(wire::AfcOperation::FileWrite, wire::AfcParameters{}.word(handle),
                     bytes.first(step), answer);
        if (error != kAFCSuccess) {
            return error;
        }
        bytes = bytes.subspan(step);
    }
    return kAFCSuccess;
}

}  // namespace quillbox::device
