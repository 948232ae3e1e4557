// SPDX-License-Identifier: GPL-3.0-or-later
#include "MuxMessages.h"

#include "PropertyListService.h"
#include "UnixSocket.h"

#include <sys/socket.h>

#include <cerrno>

namespace quillbox::simulator {
std::optional<MuxMessage> readMuxMessage(int socket) {
    std::array<std::byte, wire::kMuxHeaderSize> fixed{};
    if (!readAll(socket, fixed)) {
        return std::nullopt;
    }
    const auto header = wire::decodeMuxHeader(fixed);
    if (!header || header->type != wire::kMuxTypePropertyList) {
        return std::nullopt;
    }
    wire::Bytes payload(header->payloadLength());
    if (!readAll(socket, payload)) {
        return std::nullopt;
    }
    auto content = PropertyList::parse(payload);
    if (!content) {
        return std::nullopt;
    }
    return MuxMessage{header->tag, std::move(*content)};
}

wire::Bytes encodeMuxMessage(std::uint32_t tag, const PropertyList& content) {
    const wire::Bytes payload = content.toXml();
    wire::Bytes message;
    wire::append(message, wire::encodeMuxHeader(wire::makeMuxHeader(payload.size(), tag)));
    wire::append(message, payload);
    return message;
}

wire::Bytes spoilMuxMessage(std::uint32_t tag, const PropertyList& content, Malformed variant) {
    const wire::Bytes payload = spoilPayload(content.toXml(), variant);
    wire::MuxHeader header = wire::makeMuxHeader(payload.size(), tag);
    switch (variant) {
    case Malformed::Short:
        header.length = 8;
        break;
    case Malformed::Oversized:
        header.length = 0xFFFFFFF0U;
        break;
    case Malformed::OtherNumber:
        header.tag += 1000;
        break;
    default:
        break;
    }
    wire::Bytes message;
    wire::append(message, wire::encodeMuxHeader(header));
    wire::append(message, payload);
    if (variant == Malformed::TruncatedSilent || variant == Malformed::TruncatedClose) {
        message.resize(message.size() / 2);
    }
    return message;
}

bool sendAtOnce(int socket, wire::ByteView bytes) {
    while (!bytes.empty()) {
        const ssize_t sent =
            ::send(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            ::shutdown(socket, SHUT_RDWR);
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
    return true;
}

}  // namespace quillbox::simulator
