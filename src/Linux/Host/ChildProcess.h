// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Host/FileDescriptor.h"

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace quillbox::host {

/// A program that we started: its standard output comes to us, its standard error goes where ours
/// goes, its standard input is empty. It is ended (SIGTERM, after two seconds SIGKILL) when this
/// object goes. One thread at a time.
class ChildProcess {
public:
    /// Starts `program` (an absolute path) with these arguments; null, with the reason in `error`,
    /// when that fails.
    static std::unique_ptr<ChildProcess> start(const std::string& program,
                                               const std::vector<std::string>& arguments,
                                               std::string* error);

    /// Takes over a process that was started, and the end of the pipe that it writes to.
    ChildProcess(pid_t process, FileDescriptor output)
        : process_(process), output_(std::move(output)) {}

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits until the program has written this line; false when it ended or the time is over.
    bool waitForLine(const std::string& line, std::chrono::milliseconds atMost);

private:
    bool waitForEnd(std::chrono::milliseconds atMost);

    pid_t process_;
    FileDescriptor output_;
    std::string unread_;
};

}  // namespace quillbox::host
