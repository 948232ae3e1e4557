// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <utility>

namespace quillbox::simulator {

/// Owns a file descriptor and closes it. Movable, not shared between threads.
class UniqueFd {
public:
    UniqueFd() = default;

    explicit UniqueFd(int fd) : fd_{fd} {}

    UniqueFd(UniqueFd&& other) noexcept : fd_{std::exchange(other.fd_, -1)} {}

    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            reset(std::exchange(other.fd_, -1));
        }
        return *this;
    }

    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    ~UniqueFd() { reset(); }

    void reset(int fd = -1) {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        fd_ = fd;
    }

    /// Gives the descriptor away.
    [[nodiscard]] int release() { return std::exchange(fd_, -1); }

    [[nodiscard]] int get() const { return fd_; }

    [[nodiscard]] explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

}  // namespace quillbox::simulator
