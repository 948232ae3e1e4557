// SPDX-License-Identifier: GPL-3.0-or-later
#include "PropertyListService.h"

#include "Wire/PropertyListFrame.h"

#include <utility>

namespace quillbox::simulator {

std::optional<PropertyList> readPropertyList(Stream& stream) {
    std::array<std::byte, wire::kFrameHeaderSize> fixed{};
    if (!stream.read(fixed)) {
        return std::nullopt;
    }
    constexpr std::size_t kLongestRequest = 4U << 20U;
    const auto length = wire::decodeFrameLength(fixed, kLongestRequest);
    if (!length) {
        return std::nullopt;
    }
    wire::Bytes payload(*length);
    if (!stream.read(payload)) {
        return std::nullopt;
    }
    return PropertyList::parse(payload);
}

std::optional<AdmittedRequest> readRequest(ServiceContext& context, const std::string& key) {
    auto content = readPropertyList(context.stream);
    if (!content) {
        return std::nullopt;
    }
    std::string command = content->textAt(key).value_or("");
    auto verdict = context.admit(command);
    if (!verdict) {
        return std::nullopt;
    }
    return AdmittedRequest{std::move(*content), std::move(command), std::move(*verdict)};
}

bool writePropertyList(Stream& stream, const PropertyList& list) {
    return stream.write(wire::encodeFrame(list.toXml()));
}

wire::Bytes spoilPayload(wire::Bytes payload, Malformed variant) {
    switch (variant) {
    case Malformed::WrongMagic: {
        const wire::ByteView nonsense = wire::asBytes("this is no property list at all");
        return {nonsense.begin(), nonsense.end()};
    }
    case Malformed::WrongOperation:
        return PropertyList::array().append(PropertyList::number(1)).toXml();
    case Malformed::OtherNumber:
    case Malformed::DataForStatus:
        return PropertyList::dictionary().setText("Request", "SomethingElse").toXml();
    case Malformed::EndlessList: {
        PropertyList list = PropertyList::dictionary();
        constexpr int kKeys = 100'000;
        for (int i = 0; i < kKeys; ++i) {
            list.setNumber("key" + std::to_string(i), 1);
        }
        return list.toXml();
    }
    default:
        return payload;
    }
}

bool writeAnswer(Stream& stream, const PropertyList& answer, const Verdict& verdict) {
    if (verdict.kind != Verdict::Kind::Spoil) {
        return writePropertyList(stream, answer);
    }
    wire::Bytes frame = wire::encodeFrame(spoilPayload(answer.toXml(), verdict.variant));
    switch (verdict.variant) {
    case Malformed::Short:
        wire::storeBig<std::uint32_t>(std::span{frame}, 0);
        break;
    case Malformed::Oversized:
        wire::storeBig<std::uint32_t>(std::span{frame}, 0xFFFFFFF0U);
        break;
    case Malformed::TruncatedSilent:
    case Malformed::TruncatedClose:
        frame.resize(frame.size() / 2);
        break;
    default:
        break;
    }
    if (!stream.write(frame)) {
        return false;
    }
    if (verdict.variant == Malformed::TruncatedSilent) {
        stream.channel().waitClosed();
        return false;
    }
    return verdict.variant != Malformed::TruncatedClose;
}

}  // namespace quillbox::simulator
