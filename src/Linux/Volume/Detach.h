// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quillbox::volume {

enum class Detachment {
    Plain,  ///< refused with EBUSY while a program uses the volume
    Lazy,   ///< out of sight at once; what is open stays served until it is closed
};

/// Takes a volume off its folder: as root by the system call, else with fusermount3. 0 or an errno
/// number (EBUSY for any refusal of fusermount3). May wait for what the kernel still wants to write
/// to the volume: not for the main thread.
int detach(const std::string& path, Detachment detachment);

}  // namespace quillbox::volume
