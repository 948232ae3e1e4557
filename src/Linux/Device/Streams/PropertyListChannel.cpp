// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Streams/PropertyListChannel.h"

#include "Linux/Device/Streams/PropertyLists.h"
#include "Wire/PropertyListFrame.h"

#include <algorithm>
#include <array>

namespace quillbox::device {

bool sendPropertyList(ByteStream& stream, const PropertyDictionary& request) {
    return stream.send(wire::encodeFrame(writePropertyList(request)));
}

std::optional<PropertyDictionary> receivePropertyList(ByteStream& stream, std::string& error) {
    std::array<std::byte, wire::kFrameHeaderSize> header{};
    if (!stream.receive(header)) {
        error = stream.error();
        return std::nullopt;
    }
    const auto length = wire::decodeFrameLength(header, kMaxAnswer);
    if (!length) {
        error = "a malformed answer: " + std::string{wire::describe(length.error())};
        stream.breaker().breakNow();
        return std::nullopt;
    }
    // A length alone reserves no memory: the bytes must come.
    constexpr std::size_t kStep = 1U << 20U;
    wire::Bytes body;
    while (body.size() < *length) {
        const std::size_t at = body.size();
        body.resize(std::min(*length, at + kStep));
        if (!stream.receive(std::span{body}.subspan(at))) {
            error = stream.error();
            return std::nullopt;
        }
    }
    auto answer = parseDictionary(body);
    if (!answer) {
        error = "a malformed answer: no property list";
        stream.breaker().breakNow();
    }
    return answer;
}

std::optional<PropertyDictionary>
askPropertyList(ByteStream& stream, const PropertyDictionary& request, std::string& error) {
    if (!sendPropertyList(stream, request)) {
        error = stream.error();
        return std::nullopt;
    }
    return receivePropertyList(stream, error);
}

}  // namespace quillbox::device
