// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Files/Handles.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quillbox::device {

// The file requests of one connection, with what this side adds to what a device serves: the top of
// an application's area of which only the documents are given, and the application's picture. Each
// blocks for the device.

/// A request that changes something and is answered by a status.
AFCError performRequest(AfcConnection& connection, wire::AfcOperation operation,
                        const wire::AfcParameters& parameters,
                        const InformationWindow::Change& change);
/// Names that cannot be entries of a local directory are left out and logged.
AFCError listDirectory(AfcConnection& connection, const std::string& path,
                       std::vector<std::string>& names);
AFCError readDeviceInfo(AfcConnection& connection, std::vector<wire::KeyValue>& pairs);
AFCError readFileInfo(AfcConnection& connection, const std::string& path, KeyValueHandle& answer);

/// Opens `file.path` in `file.mode`.
AFCError openFile(FileHandle& file);
AFCError readFile(FileHandle& file, std::span<std::byte> into, std::size_t& moved);
/// With `early` without waiting for the device's answer, see `settleFile`.
AFCError writeFile(FileHandle& file, wire::ByteView bytes, bool early);
/// Waits for the answers to what was written early; the first failure that nobody was told of.
AFCError settleFile(FileHandle& file);
AFCError seekFile(FileHandle& file, std::int64_t offset, std::uint64_t whence);
AFCError setFileSize(FileHandle& file, std::uint64_t size);
AFCError closeFile(FileHandle& file);

}  // namespace quillbox::device
