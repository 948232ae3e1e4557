// SPDX-License-Identifier: GPL-3.0-or-later
#include "AfcSpoiler.h"

#include "Wire/AfcLists.h"

namespace quillbox::simulator {
namespace {

using wire::AfcOperation;
using wire::Bytes;

Bytes names(std::initializer_list<std::string> list) {
    return wire::joinNames(std::vector<std::string>{list});
}

Bytes manyNames(std::size_t count) {
    Bytes data;
    for (std::size_t i = 0; i < count; ++i) {
        wire::append(data, wire::asBytes("entry " + std::to_string(i)));
        data.push_back(std::byte{0});
    }
    return data;
}

Bytes manyPairs() {
    constexpr std::size_t kPairs = 1U << 20U;
    Bytes data;
    data.reserve(kPairs * 8);
    for (std::size_t i = 0; i < kPairs; ++i) {
        wire::append(data, wire::asBytes(std::string_view("key\0val\0", 8)));
    }
    return data;
}

/// The packet with other lengths in its header than those of what follows.
Bytes withLengths(Bytes packet, std::uint64_t entire, std::uint64_t thisLength) {
    const std::span<std::byte> bytes{packet};
    wire::storeLittle(bytes.subspan(8), entire);
    wire::storeLittle(bytes.subspan(16), thisLength);
    return packet;
}

}  // namespace

Bytes spoil(std::uint64_t packetNumber, AfcAnswer answer, Malformed variant) {
    std::uint64_t number = packetNumber;
    switch (variant) {
    case Malformed::OtherNumber:
        number += 1000;
        break;
    case Malformed::WrongOperation:
        answer.operation = answer.operation == AfcOperation::FileOpenResult
                               ? AfcOperation::FileTellResult
                               : AfcOperation::FileOpenResult;
        break;
    case Malformed::DataForStatus:
        answer = AfcAnswer::bulk(names({"unexpected", "data"}));
        break;
    case Malformed::EndlessList:
        answer = AfcAnswer::bulk(manyPairs());
        break;
    case Malformed::OddList:
        answer = AfcAnswer::bulk(names({"st_size", "1", "st_blocks"}));
        break;
    case Malformed::UnterminatedList:
        answer = AfcAnswer::bulk(names({".", "..", "whole"}));
        wire::append(answer.data, wire::asBytes("half a na"));
        break;
    case Malformed::NamesSlash:
        answer = AfcAnswer::bulk(
            names({".", "..", "../outside", "/etc/passwd", "inner/entry", "/", "good"}));
        break;
    case Malformed::NamesNul:
        answer = AfcAnswer::bulk(names({".", "..", std::string("cut\0short", 9), "good"}));
        break;
    case Malformed::NamesEmpty:
        answer = AfcAnswer::bulk(names({".", "..", "", "", "good", ""}));
        break;
    case Malformed::NamesDotDot:
        answer = AfcAnswer::bulk(names({"..", "..", ".", ".", "../..", "good"}));
        break;
    case Malformed::Entries100000:
        answer = AfcAnswer::bulk(manyNames(100'000));
        break;
    default:
        break;
    }
    Bytes packet = wire::makeAfcPacket(number, answer.operation, answer.parameters, answer.data);
    switch (variant) {
    case Malformed::WrongMagic:
        packet[0] = std::byte{'X'};
        break;
    case Malformed::Short:
        return withLengths(std::move(packet), 16, 16);
    case Malformed::Oversized:
        return withLengths(std::move(packet), ~std::uint64_t{0} - 7, wire::kAfcHeaderSize);
    case Malformed::DataInHead:
        return withLengths(packet, packet.size(), packet.size());
    case Malformed::TruncatedSilent:
    case Malformed::TruncatedClose:
        packet.resize(packet.size() / 2);
        break;
    default:
        break;
    }
    return packet;
}

bool sendSpoiled(Stream& stream, std::uint64_t packetNumber, const AfcAnswer& answer,
                 Malformed variant) {
    stream.markAnswering();
    if (!stream.write(spoil(packetNumber, answer, variant))) {
        return false;
    }
    if (variant == Malformed::TruncatedSilent) {
        stream.channel().waitClosed();
    }
    return variant != Malformed::TruncatedSilent && variant != Malformed::TruncatedClose;
}

}  // namespace quillbox::simulator
