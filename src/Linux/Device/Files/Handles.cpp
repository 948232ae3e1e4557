// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/Handles.h"

namespace quillbox::device {

std::uint64_t nextHandle() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

bool Handles::hasOpenConnection(const Device& device) const {
    return !connections
                .list([&](const ConnectionHandle& handle) {
                    return handle.opened && handle.connection->device().get() == &device;
                })
                .empty();
}

}  // namespace quillbox::device
