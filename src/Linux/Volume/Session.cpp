// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Session.h"

#include "Linux/Volume/KernelChannel.h"
#include "Linux/Volume/Trampolines.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace quillbox::volume {

Session::Session(const std::string& optionText, Served& served) {
    std::string program = "quillbox";
    std::string option = "-o";
    std::string text = optionText;
    std::array<char*, 4> words = {program.data(), option.data(), text.data(), nullptr};
    fuse_args arguments = FUSE_ARGS_INIT(3, words.data());
    session_.reset(
        ::fuse_session_new(&arguments, &trampolines(), sizeof(fuse_lowlevel_ops), &served));
    ::fuse_opt_free_args(&arguments);
}

Session::~Session() {
    if (isMounted_) {
        letGo();
    }
}

int Session::mount(const std::string& path) {
    if (session_ == nullptr) {
        return EINVAL;
    }
    errno = 0;
    if (::fuse_session_mount(session_.get(), path.c_str()) != 0) {
        return errno == 0 ? EIO : errno;
    }
    isMounted_ = true;
    if (const int error = useKernelChannel(session_.get()); error != 0) {
        return -error;
    }
    loop_ = std::make_unique<RequestLoop>(session_.get());
    return 0;
}

void Session::run() {
    loop_->run();
}

// The connection ends with the device file's last descriptor. The number stays taken, by a file
// that swallows what a request in hand may still answer.
void Session::abort() {
    if (loop_ == nullptr) {
        return;
    }
    loop_->stop();
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup3(nowhere, ::fuse_session_fd(session_.get()), O_CLOEXEC);
    ::close(nowhere);
}

// The library unmounts the folder unless the connection has ended, without a look at whose mount
// stands there by now. Unmounting is not its business here, so it gets to see an ended connection:
// a pipe that nobody reads takes the place of the device file, whose closing ends the connection.
void Session::letGo() {
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
        ::close(ends[0]);
        ::dup3(ends[1], ::fuse_session_fd(session_.get()), O_CLOEXEC);
        ::close(ends[1]);
    }
    ::fuse_session_unmount(session_.get());
}

}  // namespace quillbox::volume
