// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Session/PodPhone.h"

#include <optional>

namespace quillbox {

/// Reads a key/value answer to its end and closes it; of two pairs with one key the later one
/// counts. None when a read or the close fails; after a failed read the answer stays open and ends
/// with its connection.
inline std::optional<FileInfo> readKeyValues(AFC& afc, AFCKeyValueRef answer) {
    FileInfo pairs;
    for (;;) {
        const char* key = nullptr;
        const char* value = nullptr;
        if (afc.AFCKeyValueRead(answer, &key, &value) != kAFCSuccess) {
            return std::nullopt;
        }
        if (key == nullptr) {
            break;
        }
        pairs.insert_or_assign(key, value != nullptr ? value : "");
    }
    if (afc.AFCKeyValueClose(answer) != kAFCSuccess) {
        return std::nullopt;
    }
    return pairs;
}

}  // namespace quillbox
