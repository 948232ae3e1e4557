// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quillbox {

/// What the object layer over AFC throws: a name and a message, either of which may be empty.
class NSException : public std::exception {
public:
    NSException(std::string name, std::string reason)
        : name_(std::move(name)), reason_(std::move(reason)) {}

    const std::string& name() const { return name_; }

    const std::string& reason() const { return reason_; }

    const char* what() const noexcept override { return reason_.c_str(); }

private:
    std::string name_;
    std::string reason_;
};

}  // namespace quillbox
