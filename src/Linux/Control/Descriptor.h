// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <memory>

namespace quillbox::control {

/// Closes one file descriptor at its end. Handed on by its owner's pointer.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor() { ::close(number_); }

    int number() const { return number_; }

    /// Takes over what a system call gave: null where it failed.
    static std::unique_ptr<Descriptor> own(int number) {
        return number < 0 ? nullptr : std::make_unique<Descriptor>(number);
    }

private:
    const int number_;
};

}  // namespace quillbox::control
