// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/FileService.h"

#include "Linux/Device/Streams/PropertyListChannel.h"
#include "Linux/Device/Streams/PropertyLists.h"

#include <utility>

namespace quillbox::device {

namespace {

constexpr const char* kHouseArrest = "com.apple.mobile.house_arrest";
constexpr const char* kWholeArea = "VendContainer";
constexpr const char* kDocuments = "VendDocuments";

/// The device library's own client for this keeps its connection to itself, so the command is
/// spoken here; the same connection speaks AFC afterwards.
Failure vend(Device& device, const FileService& service, const char* command,
             std::chrono::milliseconds noProgress, std::unique_ptr<ServiceConnection>& connection) {
    std::unique_ptr<ServiceConnection> opened;
    if (Failure failure = device.lockdown().openService(kHouseArrest, noProgress, opened)) {
        return failure;
    }
    std::string error;
    const auto answer = askPropertyList(
        opened->stream(), {{"Command", command}, {"Identifier", service.bundleIdentifier}}, error);
    if (!answer) {
        return {FailureKind::NoAnswer, error};
    }
    if (const auto refused = textOf(*answer, "Error")) {
        return failureOf(*refused);
    }
    if (textOf(*answer, "Status").value_or("") != "Complete") {
        return {FailureKind::Refused, "an answer without a status"};
    }
    connection = std::move(opened);
    return {};
}

}  // namespace

Failure openFileService(Device& device, FileService& service, std::chrono::milliseconds noProgress,
                        std::unique_ptr<ServiceConnection>& connection) {
    if (!service.isApplication()) {
        return device.lockdown().openService(service.service, noProgress, connection);
    }
    std::string refusal;
    if (!service.documentsOnly) {
        Failure failure = vend(device, service, kWholeArea, noProgress, connection);
        if (failure.kind != FailureKind::Refused) {
            return failure;
        }
        refusal = failure.text;
    }
    // Current devices give the whole area only of applications that a developer signed.
    Failure failure = vend(device, service, kDocuments, noProgress, connection);
    if (!failure) {
        service.documentsOnly = true;
    } else if (!refusal.empty() && refusal != failure.text) {
        failure.text = refusal + ", and for its documents " + failure.text;
    }
    return failure;
}

}  // namespace quillbox::device
