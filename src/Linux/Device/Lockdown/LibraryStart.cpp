// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/LibraryStart.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <usbmuxd.h>

namespace quillbox::device {

void startLibrary() {
    static std::mutex mutex;
    static std::atomic<bool> isStarted{false};
    if (isStarted.load(std::memory_order_acquire)) {
        return;
    }
    const std::lock_guard lock{mutex};
    if (isStarted.load(std::memory_order_relaxed)) {
        return;
    }
    char* identifier = nullptr;
    if (usbmuxd_read_buid(&identifier) == 0) {
        std::free(identifier);
        isStarted.store(true, std::memory_order_release);
    }
}

}  // namespace quillbox::device
