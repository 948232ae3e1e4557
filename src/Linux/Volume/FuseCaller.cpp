// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/FuseCaller.h"

#include <csignal>
#include <cstdint>
#include <fstream>
#include <string>
#include <utility>

namespace quillbox::volume {
namespace {

constexpr std::uint64_t kKillBit = std::uint64_t{1} << (SIGKILL - 1);

void signalled(fuse_req_t, void* data) noexcept {
    (*static_cast<std::function<void()>*>(data))();
}

}  // namespace

void FuseCaller::whenSignalled(std::function<void()> call) {
    // The library holds the request's own lock while it calls, so after this nothing is under way.
    ::fuse_req_interrupt_func(request_, nullptr, nullptr);
    signalled_ = std::move(call);
    if (signalled_) {
        ::fuse_req_interrupt_func(request_, signalled, &signalled_);
    }
}

// Any deadly signal becomes a pending SIGKILL of each thread, proc(5).
bool FuseCaller::isKilled() const {
    const pid_t thread = ::fuse_req_ctx(request_)->pid;
    if (thread == 0) {
        return false;  // the kernel itself, or a program whose number cannot be seen from here
    }
    std::ifstream status("/proc/" + std::to_string(thread) + "/status");
    if (!status) {
        return true;
    }
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("SigPnd:") || line.starts_with("ShdPnd:")) {
            const std::uint64_t pending = std::stoull(line.substr(line.find(':') + 1), nullptr, 16);
            if ((pending & kKillBit) != 0) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace quillbox::volume
