// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Files/Handles.h"

#include <cstdint>
#include <span>

namespace quillbox::device {

// What is done with an open file of a device. The caller holds the file's mutex. A seek is not sent
// by itself: the transfer that follows takes it along, where the device is not there already.

/// The client that knows the file; a failure where its connection was replaced or lost.
AFCError clientOf(FileHandle& file, std::shared_ptr<AfcClient>& client);

AFCError openOnDevice(FileHandle& file);
AFCError readOnDevice(FileHandle& file, std::span<std::byte> into, std::size_t& moved);
/// With `early` the device's answers are not waited for, beyond a bound: a failure is the next
/// write's, or `settleOnDevice`'s.
AFCError writeOnDevice(FileHandle& file, wire::ByteView bytes, bool early);
/// Waits for the answers to all writes; the first failure that nobody was told of.
AFCError settleOnDevice(FileHandle& file);
AFCError seekOnDevice(FileHandle& file, std::int64_t offset, std::uint64_t whence);
AFCError setSizeOnDevice(FileHandle& file, std::uint64_t size);
/// Does not wait, but for writes that are not answered yet.
AFCError closeOnDevice(FileHandle& file);

}  // namespace quillbox::device
