// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Error.h"
#include "Core/Platform/UserFileSystem.h"

#include <cstdint>

namespace quillbox {

/// Makes the errors by which the file-system operations report failure.
class NSErrorPOSIX {
public:
    /// An error in the POSIX domain with one of the host's `errno` numbers, and nothing more.
    static NSError errorWithPOSIXCode(std::int32_t code) {
        return NSError::errorWithDomain(NSPOSIXErrorDomain, code);
    }

    /// Puts such an error into an out-parameter where there is one.
    static void set(GMErrorOut error, std::int32_t code) {
        if (error != nullptr) {
            *error = errorWithPOSIXCode(code);
        }
    }
};

}  // namespace quillbox
