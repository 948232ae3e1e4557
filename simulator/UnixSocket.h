// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UniqueFd.h"
#include "Wire/Bytes.h"

#include <filesystem>
#include <optional>
#include <span>

namespace quillbox::simulator {

/// A stream socket that listens on the path. A file that a killed process has left there is
/// replaced. Throws std::runtime_error when another process answers there or the path cannot be
/// used.
[[nodiscard]] UniqueFd listenOn(const std::filesystem::path& path);

/// A stream socket connected with the path; without a descriptor when nobody answers there.
[[nodiscard]] UniqueFd connectTo(const std::filesystem::path& path);

/// Fills `target` wholly from a blocking socket; false at its end.
[[nodiscard]] bool readAll(int socket, std::span<std::byte> target);

/// Sends all bytes on a blocking socket, without a signal when nobody listens.
[[nodiscard]] bool sendAll(int socket, wire::ByteView bytes);

/// Reads a block with its 4-byte big-endian length in front, of at most `most` bytes.
[[nodiscard]] std::optional<wire::Bytes> readBlock(int socket, std::size_t most);

}  // namespace quillbox::simulator
