// SPDX-License-Identifier: GPL-3.0-or-later
#include "AfcService.h"

#include "AfcRequests.h"
#include "AfcSpoiler.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace quillbox::simulator {
namespace {

using wire::AfcStatus;

bool send(Stream& stream, std::uint64_t number, const AfcAnswer& answer) {
    const wire::Bytes head =
        wire::makeAfcHead(number, answer.operation, answer.parameters, answer.data.size());
    stream.markAnswering();
    return stream.write(head, answer.data);
}

AfcAnswer orderedFailure(const Verdict& verdict) {
    std::uint64_t number = 0;
    std::from_chars(verdict.status.data(), verdict.status.data() + verdict.status.size(), number);
    return AfcAnswer::status(static_cast<AfcStatus>(number));
}

class Connection {
public:
    Connection(ServiceContext& context, AfcArea area, bool locksWithDevice)
        : context_{context},
          requests_{std::move(area), context.device},
          locksWithDevice_{locksWithDevice} {}

    void run() {
        context_.stream.markAnswered();
        while (answerNext()) {
        }
    }

private:
    bool answerNext() {
        Stream& stream = context_.stream;
        std::array<std::byte, wire::kAfcHeaderSize> fixed{};
        if (!stream.read(fixed)) {
            return false;
        }
        // The first request always waits for the link; what came before it was the handshake.
        const bool first = std::exchange(first_, false);
        if (stream.channel().takeSpoken() || first) {
            context_.environment.counters.count(context_.device.udid(), Counters::kRoundTrips);
        }
        const auto header = wire::decodeAfcHeader(fixed);
        if (!header) {
            // Where the next packet begins is not known any more: say so and end.
            (void)send(stream, 0, AfcAnswer::status(AfcStatus::MalformedHeader));
            return false;
        }
        const std::size_t length = header->entireLength - wire::kAfcHeaderSize;
        if (buffer_.size() < length) {
            buffer_.resize(length);
        }
        const std::span<std::byte> body{buffer_.data(), length};
        if (!stream.read(body)) {
            return false;
        }
        const auto kind = wire::afcRequestName(header->operation);
        const auto verdict = context_.admit(kind.empty() ? kUnknownRequest : kind);
        if (!verdict) {
            return false;
        }
        if (verdict->kind == Verdict::Kind::Fail) {
            return send(stream, header->packetNumber, orderedFailure(*verdict));
        }
        const wire::ByteView parameters = body.first(header->parameterLength());
        const AfcAnswer answer = refused()
                                     ? AfcAnswer::status(AfcStatus::PermissionDenied)
                                     : requests_.answer(header->operation, parameters,
                                                        body.subspan(header->parameterLength()));
        if (verdict->kind == Verdict::Kind::Spoil) {
            return sendSpoiled(stream, header->packetNumber, answer, verdict->variant);
        }
        return send(stream, header->packetNumber, answer);
    }

    [[nodiscard]] bool refused() const {
        return locksWithDevice_ && context_.device.trust.lock() != Trust::Lock::Unlocked;
    }

    ServiceContext& context_;
    AfcRequests requests_;
    bool locksWithDevice_;
    bool first_ = true;
    wire::Bytes buffer_;
};

}  // namespace

void serveAfc(ServiceContext& context, AfcArea area, bool locksWithDevice) {
    Connection{context, std::move(area), locksWithDevice}.run();
}

}  // namespace quillbox::simulator
