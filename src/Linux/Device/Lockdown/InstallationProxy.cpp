// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/InstallationProxy.h"

#include "Linux/Device/Streams/PropertyListChannel.h"
#include "Linux/Device/Streams/PropertyLists.h"

#include <utility>

namespace quillbox::device {

namespace {

constexpr const char* kService = "com.apple.mobile.installation_proxy";
/// Most applications, and most parts of an answer, that are taken.
constexpr std::size_t kMaxApplications = 100'000;

Failure lookup(ByteStream& stream, const PropertyDictionary& options,
               PropertyDictionary& applications) {
    std::string error;
    const auto answer =
        askPropertyList(stream, {{"Command", "Lookup"}, {"ClientOptions", options}}, error);
    if (!answer) {
        return {FailureKind::NoAnswer, error};
    }
    if (const auto refused = textOf(*answer, "Error")) {
        return failureOf(*refused);
    }
    const PropertyValue* result = find(*answer, "LookupResult");
    if (result == nullptr || result->dictionary() == nullptr) {
        return {FailureKind::Refused, "a list of applications that is none"};
    }
    applications = *result->dictionary();
    return {};
}

Failure browse(ByteStream& stream, const PropertyDictionary& options,
               PropertyDictionary& applications) {
    std::string error;
    if (!sendPropertyList(stream, {{"Command", "Browse"}, {"ClientOptions", options}})) {
        return {FailureKind::NoAnswer, stream.error()};
    }
    for (std::size_t part = 0; part < kMaxApplications; ++part) {
        const auto answer = receivePropertyList(stream, error);
        if (!answer) {
            return {FailureKind::NoAnswer, error};
        }
        if (const auto refused = textOf(*answer, "Error")) {
            return failureOf(*refused);
        }
        if (const PropertyValue* list = find(*answer, "CurrentList"); list && list->array()) {
            for (const PropertyValue& application : *list->array()) {
                const PropertyDictionary* attributes = application.dictionary();
                const auto identifier = attributes == nullptr
                                            ? std::nullopt
                                            : textOf(*attributes, "CFBundleIdentifier");
                if (identifier && applications.size() < kMaxApplications) {
                    applications.insert_or_assign(*identifier, *attributes);
                }
            }
        }
        if (textOf(*answer, "Status").value_or("") == "Complete") {
            return {};
        }
    }
    return {FailureKind::Refused, "a list of applications without an end"};
}

}  // namespace

Failure lookupApplications(Device& device, const PropertyDictionary& options,
                           PropertyDictionary& applications) {
    std::unique_ptr<ServiceConnection> connection;
    const auto noProgress = device.options().noProgress;
    if (Failure failure = device.lockdown().openService(kService, noProgress, connection)) {
        return failure;
    }
    Failure failure = lookup(connection->stream(), options, applications);
    if (failure.kind != FailureKind::Refused) {
        return failure;
    }
    // A new connection: after an error the service may have ended this one.
    connection.reset();
    if (Failure again = device.lockdown().openService(kService, noProgress, connection)) {
        return again;
    }
    applications.clear();
    return browse(connection->stream(), options, applications);
}

}  // namespace quillbox::device
