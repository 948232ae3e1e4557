// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/KernelChannel.h"

#include "Linux/Volume/Served.h"

#include <cstring>
#include <linux/fuse.h>
#include <sys/uio.h>
#include <unistd.h>

namespace quillbox::volume {
namespace {

ssize_t readRequest(int file, void* buffer, std::size_t size, void* data) {
    const ssize_t count = ::read(file, buffer, size);
    fuse_in_header header = {};
    if (count >= static_cast<ssize_t>(sizeof header)) {
        std::memcpy(&header, buffer, sizeof header);
        if (header.opcode == FUSE_INIT) {
            static_cast<Served*>(data)->firstRequest = header.unique;
        }
    }
    return count;
}

bool isFirstAnswer(const Served& served, const iovec* parts, int count) {
    if (count < 1 || parts[0].iov_len < sizeof(fuse_out_header)) {
        return false;
    }
    fuse_out_header header = {};
    std::memcpy(&header, parts[0].iov_base, sizeof header);
    return header.unique != 0 && header.unique == served.firstRequest && header.error == 0;
}

ssize_t writeAnswer(int file, iovec* parts, int count, void* data) {
    Served& served = *static_cast<Served*>(data);
    if (!isFirstAnswer(served, parts, count)) {
        return ::writev(file, parts, count);
    }
    constexpr std::size_t kNeeded = offsetof(fuse_init_out, flags) + sizeof(std::uint32_t);
    if (count > 1 && parts[1].iov_len >= kNeeded) {
        // Without parallel look-ups a program that waits for another one's look-up in the same
        // folder cannot even be killed, and what needs no device waits with it.
        auto* flags = static_cast<char*>(parts[1].iov_base) + offsetof(fuse_init_out, flags);
        std::uint32_t value = 0;
        std::memcpy(&value, flags, sizeof value);
        value |= served.wantsParallelFolders ? FUSE_PARALLEL_DIROPS : 0U;
        std::memcpy(flags, &value, sizeof value);
    }
    const ssize_t written = ::writev(file, parts, count);
    if (written >= 0) {
        served.firstRequest = 0;
        served.whenKernelAnswers();
    }
    return written;
}

}  // namespace

int useKernelChannel(fuse_session* session) {
    fuse_custom_io channel = {};
    channel.read = readRequest;
    channel.writev = writeAnswer;
    return ::fuse_session_custom_io(session, &channel, ::fuse_session_fd(session));
}

}  // namespace quillbox::volume
