// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "AfcFiles.h"
#include "Device.h"
#include "Wire/AfcPacket.h"
#include "Wire/AfcParameters.h"

#include <cstdint>
#include <map>

namespace quillbox::simulator {

/// An answer of the file service, before it is sent.
struct AfcAnswer {
    wire::AfcOperation operation = wire::AfcOperation::Status;
    wire::Bytes parameters;
    wire::Bytes data;

    [[nodiscard]] static AfcAnswer status(wire::AfcStatus status);
    [[nodiscard]] static AfcAnswer word(wire::AfcOperation operation, std::uint64_t value);
    [[nodiscard]] static AfcAnswer bulk(wire::Bytes data);
};

/// The requests of one connection of the file service and the files it has open. Apart from the
/// connection itself, so that it answers without one too. Used by one thread.
class AfcRequests {
public:
    /// `device` gives the figures of the storage; it outlives this object.
    AfcRequests(AfcArea area, const Device& device);

    [[nodiscard]] AfcAnswer answer(wire::AfcOperation operation, wire::ByteView parameters,
                                   wire::ByteView data);

private:
    using Reader = wire::AfcParameterReader;

    [[nodiscard]] AfcAnswer answerPath(wire::AfcOperation operation, Reader reader);
    [[nodiscard]] AfcAnswer answerHandle(wire::AfcOperation operation, Reader reader,
                                         wire::ByteView data);
    [[nodiscard]] AfcAnswer openFile(Reader reader);
    [[nodiscard]] AfcAnswer twoPaths(wire::AfcOperation operation, Reader reader);
    [[nodiscard]] AfcAnswer deviceInfo() const;

    AfcFiles files_;
    const Device& device_;
    std::map<std::uint64_t, UniqueFd> open_;
    std::uint64_t nextHandle_ = 1;
};

}  // namespace quillbox::simulator
