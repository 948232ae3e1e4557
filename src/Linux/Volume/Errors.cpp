// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/Errors.h"

#include <cerrno>

namespace quillbox::volume {
namespace {

constexpr int kLargestErrno = 4095;

int errnoOfError(const std::optional<NSError>& error) {
    if (!error || error->domain != NSPOSIXErrorDomain || error->code < 1 ||
        error->code > kLargestErrno) {
        return 0;
    }
    return error->code;
}

}  // namespace

int errnoOfDevice(AFCError reason) {
    switch (reason) {
    case kAFCObjectNotFound:
        return ENOENT;
    case kAFCObjectIsDirectory:
        return EISDIR;
    case kAFCPermissionDenied:
        return EACCES;
    case kAFCTimedOut:
        return ETIMEDOUT;
    case kAFCObjectExists:
        return EEXIST;
    case kAFCObjectBusy:
        return EBUSY;
    case kAFCNoSpaceLeft:
        return ENOSPC;
    case kAFCDirectoryNotEmpty:
        return ENOTEMPTY;
    default:
        return EIO;
    }
}

int errnoOfRefusal(const std::optional<NSError>& error, AFCError reason) {
    const int number = errnoOfError(error);
    const bool standsForReason = number == 0 || number == ENOENT || number == EIO ||
                                 (number == EPERM && reason != kAFCSuccess);
    return standsForReason ? errnoOfDevice(reason) : number;
}

int errnoOfRemoval(AFCError reason) {
    return reason == kAFCSuccess || reason == kAFCObjectNotFound ? 0 : errnoOfDevice(reason);
}

}  // namespace quillbox::volume
