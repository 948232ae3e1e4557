// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/AfcAnswer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace quillbox::device {

namespace {

constexpr AFCError kLargestStatus = 0xFF;
/// From here on bytes go straight to where they belong.
constexpr std::size_t kDirect = 16U << 10U;

/// A device's status word as an answer of ours. A word that is no status must not be cut down to
/// one, success least of all.
AFCError errorOf(std::uint64_t status) {
    return status > kLargestStatus ? AFCError{kAFCUnknownError} : static_cast<AFCError>(status);
}

}  // namespace

bool AfcAnswerReader::broken(std::string reason) {
    reason_ = std::move(reason);
    return false;
}

/// Fills `target` as far as bytes have arrived. False: the stream is over.
bool AfcAnswerReader::fill(ByteStream& stream, std::span<std::byte> target, std::size_t& filled) {
    while (filled < target.size()) {
        const std::size_t wanted = target.size() - filled;
        if (inputAt_ < inputEnd_) {
            const std::size_t count = std::min(wanted, inputEnd_ - inputAt_);
            std::memcpy(target.data() + filled, input_.data() + inputAt_, count);
            inputAt_ += count;
            filled += count;
            continue;
        }
        std::size_t moved = 0;
        const bool direct = wanted >= kDirect;
        if (!stream.receiveSome(direct ? target.subspan(filled) : std::span{input_}, moved)) {
            return broken(stream.error());
        }
        if (moved == 0) {
            return true;
        }
        moved_ = true;
        if (direct) {
            filled += moved;
        } else {
            inputAt_ = 0;
            inputEnd_ = moved;
        }
    }
    return true;
}

bool AfcAnswerReader::begin(const AfcInFlight& oldest) {
    // Some devices count data among the parameters. Words are held to their own limit below.
    const auto header = wire::decodeAfcHeader(head_, {kMaxListing, kMaxListing});
    if (!header) {
        return broken("a malformed answer: " + std::string{wire::describe(header.error())});
    }
    header_ = *header;
    if (header_.packetNumber != oldest.number) {
        return broken("an answer to another request");
    }
    const AfcAnswer& answer = oldest.answer != nullptr ? *oldest.answer : unwanted_;
    length_ = header_.entireLength - wire::kAfcHeaderSize;
    isData_ = header_.operation == wire::AfcOperation::Data &&
              answer.expected == wire::AfcOperation::Data;
    if (isData_) {
        if (!answer.collects && length_ > answer.into.size()) {
            return broken("more data than was asked for");
        }
        return true;
    }
    if (header_.operation != wire::AfcOperation::Status && header_.operation != answer.expected) {
        return broken("an answer of another kind");
    }
    if (length_ < sizeof(std::uint64_t) || length_ > words_.size()) {
        return broken("a malformed answer: a length of " + std::to_string(length_));
    }
    return true;
}

/// Takes in the body as far as it has arrived. False: the stream is over.
bool AfcAnswerReader::takeBody(ByteStream& stream, AfcAnswer& answer) {
    if (!isData_) {
        return fill(stream, std::span{words_}.first(length_), bodyFilled_);
    }
    if (!answer.collects) {
        return fill(stream, answer.into.first(length_), bodyFilled_);
    }
    // A length alone reserves no memory: the bytes must come.
    constexpr std::uint64_t kStep = 1U << 20U;
    while (bodyFilled_ < length_) {
        if (bodyFilled_ == answer.collected.size()) {
            answer.collected.resize(std::min<std::uint64_t>(length_, bodyFilled_ + kStep));
        }
        if (!fill(stream, answer.collected, bodyFilled_)) {
            return false;
        }
        if (bodyFilled_ < answer.collected.size()) {
            return true;
        }
    }
    return true;
}

bool AfcAnswerReader::finish(const AfcInFlight& oldest) {
    AfcAnswer& answer = oldest.answer != nullptr ? *oldest.answer : unwanted_;
    hasHead_ = false;
    headFilled_ = 0;
    if (isData_) {
        answer.moved = length_;
        answer.error = kAFCSuccess;
        return true;
    }
    answer.word = wire::loadLittle<std::uint64_t>(words_);
    const AFCError status = errorOf(answer.word);
    if (header_.operation != wire::AfcOperation::Status) {
        answer.error = kAFCSuccess;
    } else if (oldest.operation == wire::AfcOperation::FileRead && status == kAFCSuccess) {
        // Nothing came, and nothing is wrong: there is no more.
        answer.moved = 0;
        answer.error = kAFCSuccess;
    } else if (answer.expected != wire::AfcOperation::Status && status == kAFCSuccess) {
        return broken("a success without what was asked for");
    } else {
        answer.error = status;
    }
    if (oldest.outstanding && answer.error != kAFCSuccess &&
        oldest.outstanding->firstFailure == kAFCSuccess) {
        oldest.outstanding->firstFailure = answer.error;
        oldest.outstanding->failedOperation = oldest.operation;
    }
    return true;
}

AfcAnswerReader::Step AfcAnswerReader::step(ByteStream& stream, const AfcInFlight& oldest) {
    if (!hasHead_) {
        if (!fill(stream, head_, headFilled_)) {
            return Step::Broken;
        }
        if (headFilled_ < head_.size()) {
            return Step::NothingThere;
        }
        if (!begin(oldest)) {
            return Step::Broken;
        }
        hasHead_ = true;
        bodyFilled_ = 0;
    }
    if (!takeBody(stream, oldest.answer != nullptr ? *oldest.answer : unwanted_)) {
        return Step::Broken;
    }
    if (bodyFilled_ < length_) {
        return Step::NothingThere;
    }
    return finish(oldest) ? Step::Answered : Step::Broken;
}

}  // namespace quillbox::device
