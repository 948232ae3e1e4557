// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Detach.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillbox::volume {
namespace {

int detachWithHelper(const std::string& path, Detachment detachment) {
    std::string program = "fusermount3";
    std::string option = detachment == Detachment::Lazy ? "-uqz" : "-uq";
    std::string separator = "--";
    std::string target = path;
    std::array<char*, 5> arguments = {program.data(), option.data(), separator.data(),
                                      target.data(), nullptr};
    posix_spawn_file_actions_t actions;
    if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) {
        return error;
    }
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error =
        ::posix_spawnp(&child, program.c_str(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        return error;
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : EBUSY;
}

}  // namespace

int detach(const std::string& path, Detachment detachment) {
    if (::geteuid() != 0) {
        return detachWithHelper(path, detachment);
    }
    const int flags = UMOUNT_NOFOLLOW | (detachment == Detachment::Lazy ? MNT_DETACH : 0);
    return ::umount2(path.c_str(), flags) == 0 ? 0 : errno;
}

}  // namespace quillbox::volume
