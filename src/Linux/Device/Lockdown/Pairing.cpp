// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/Pairing.h"

#include "Linux/Device/Lockdown/LibraryStart.h"
#include "Linux/Device/Streams/ServiceConnection.h"

#include <libimobiledevice/lockdown.h>

namespace quillbox::device {

namespace {

struct FreeClient {
    void operator()(lockdownd_client_t client) const { lockdownd_client_free(client); }
};

Failure failureOf(lockdownd_error_t error) {
    switch (error) {
    case LOCKDOWN_E_SUCCESS:
        return {};
    case LOCKDOWN_E_PAIRING_DIALOG_RESPONSE_PENDING:
        return {FailureKind::DialogPending, "PairingDialogResponsePending"};
    case LOCKDOWN_E_PASSWORD_PROTECTED:
    case LOCKDOWN_E_ESCROW_LOCKED:
        return {FailureKind::PasswordProtected, "PasswordProtected"};
    case LOCKDOWN_E_USER_DENIED_PAIRING:
        return {FailureKind::Denied, "UserDeniedPairing"};
    case LOCKDOWN_E_INVALID_HOST_ID:
    case LOCKDOWN_E_INVALID_PAIR_RECORD:
        return {FailureKind::TrustReset, "InvalidHostID"};
    case LOCKDOWN_E_MUX_ERROR:
    case LOCKDOWN_E_RECEIVE_TIMEOUT:
    case LOCKDOWN_E_SSL_ERROR:
        return {FailureKind::NoAnswer, "no answer to the question whether to pair"};
    default:
        return {FailureKind::Refused, "pairing error " + std::to_string(error)};
    }
}

}  // namespace

Failure askToPair(const std::string& udid) {
    idevice_t made = nullptr;
    const auto both = static_cast<idevice_options>(IDEVICE_LOOKUP_USBMUX | IDEVICE_LOOKUP_NETWORK);
    startLibrary();
    if (idevice_new_with_options(&made, udid.c_str(), both) != IDEVICE_E_SUCCESS) {
        return {FailureKind::NotReachable, "the device service does not list the device"};
    }
    const DeviceHandle handle{made};
    lockdownd_client_t opened = nullptr;
    const lockdownd_error_t result = lockdownd_client_new(handle.get(), &opened, "quillbox");
    if (result != LOCKDOWN_E_SUCCESS) {
        return {FailureKind::NotReachable, "its lockdown service cannot be reached"};
    }
    const std::unique_ptr<lockdownd_client_private, FreeClient> client{opened};
    return failureOf(lockdownd_pair(client.get(), nullptr));
}

}  // namespace quillbox::device
