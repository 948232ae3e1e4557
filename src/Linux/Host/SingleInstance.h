// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Host/FileDescriptor.h"

#include <optional>
#include <string>

namespace quillbox::host {

/// One running program for each user, multiplexer socket and preference file: a locked file in the
/// user's runtime folder, freed by the kernel however the program ends.
class SingleInstance {
public:
    enum class Result { Taken, Running, Failed };

    /// Takes the lock, or says why not: `Running` when another process has it (its process number
    /// in `message`), `Failed` with the reason in `message`.
    Result take(const std::string& runtimeFolder, const std::string& multiplexerSocket,
                const std::string& preferenceFile, std::string* message);

private:
    FileDescriptor lock_;
};

}  // namespace quillbox::host
