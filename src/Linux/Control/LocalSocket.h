// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/Descriptor.h"

#include <memory>
#include <string>

namespace quillbox::control {

/// UNIX sockets in the file system, of any path length: a path that does not fit an address is
/// reached through its folder. Descriptors are non-blocking and close on exec.

/// Listens at a path of mode 0600; a socket that stands there already is replaced. Null with a
/// reason.
std::unique_ptr<Descriptor> listenAt(const std::string& path, std::string* error);
/// Null with `errno` where nobody listens, EAGAIN where too many wait already.
std::unique_ptr<Descriptor> connectTo(const std::string& path);
/// The next one that waits to be accepted; null where there is none.
std::unique_ptr<Descriptor> acceptFrom(const Descriptor& listener);
/// Whether the process at the other end runs as this user or as root.
bool isTrustedPeer(const Descriptor& socket);

}  // namespace quillbox::control
