// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Control/Protocol.h"
#include "Linux/Control/SingleInstance.h"

#include <chrono>
#include <optional>
#include <string>

namespace quillbox::control {

/// How a question to the running program ended.
struct CallResult {
    enum class Kind {
        Answered,
        Ended,      ///< the program ended, or closed the connection without an answer to do so
        NotReached  ///< no connection, or no answer within the time; `error` says which
    };

    Kind kind = Kind::NotReached;
    Answer answer;
    std::string error;
};

/// Puts a request to a running program and waits for its answer. One that does not listen yet is
/// waited for as long as it runs. Any thread.
CallResult call(const Instance& instance, const Request& request,
                std::chrono::milliseconds patience);

}  // namespace quillbox::control
