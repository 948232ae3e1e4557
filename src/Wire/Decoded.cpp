// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/Decoded.h"

namespace quillbox::wire {

std::string_view describe(WireError error) {
    switch (error) {
    case WireError::None:
        return "no error";
    case WireError::TooShort:
        return "too few bytes";
    case WireError::WrongMagic:
        return "wrong signature";
    case WireError::WrongVersion:
        return "unknown protocol version";
    case WireError::LengthTooSmall:
        return "a length that is too small";
    case WireError::LengthTooLarge:
        return "a length above the limit";
    case WireError::LengthsDisagree:
        return "lengths that contradict each other";
    case WireError::NotTerminated:
        return "a text without its end";
    case WireError::OddCount:
        return "a key without a value";
    case WireError::TooManyEntries:
        return "more entries than the limit";
    }
    return "unknown error";
}

}  // namespace quillbox::wire
