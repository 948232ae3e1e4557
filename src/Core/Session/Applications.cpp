// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Session/PodPhone.h"

#include <algorithm>

namespace quillbox {

namespace {

std::string textOr(const PropertyDictionary& dictionary, std::string_view key,
                   std::string_view otherwise = {}) {
    const auto* value = find(dictionary, key);
    const auto* text = value != nullptr ? value->string() : nullptr;
    return text != nullptr ? *text : std::string(otherwise);
}

/// The record of one installed application, or none when the catalogue leaves it out.
std::optional<AppRecord> recordOf(const std::string& identifier,
                                  const PropertyDictionary& attributes, bool onlyFileSharing) {
    if (textOr(attributes, "ApplicationType") != "User") {
        return std::nullopt;
    }
    if (onlyFileSharing) {
        const auto* isSharing = find(attributes, "UIFileSharingEnabled");
        if (isSharing == nullptr || !isSharing->boolValue()) {
            return std::nullopt;
        }
    }
    const auto* name = find(attributes, "CFBundleDisplayName");
    if (name == nullptr || name->string() == nullptr) {
        return std::nullopt;
    }
    AppRecord record{{"name", *name->string()}, {"ID", identifier}};
    const auto* icon = find(attributes, "CFBundleIconFile");
    if (icon != nullptr && icon->string() != nullptr) {
        record.emplace("icon", *icon->string());
    }
    return record;
}

}  // namespace

std::optional<PropertyDictionary> PodPhone::getAppBundles(AMDeviceRef device) {
    std::optional<PropertyDictionary> applications;
    if (platform_.devices.AMDeviceLookupApplications(device, {}, &applications) != 0) {
        return std::nullopt;
    }
    return applications;
}

AppCatalogue PodPhone::getUserAppBundlesArray(bool onlyFileSharing) {
    if (auto kept = fileShareAppBundlesArray()) {
        return *std::move(kept);
    }
    const AMDeviceRef device = myDevice_;
    if (device == nullptr) {
        return {};
    }
    AppCatalogue catalogue;
    const auto applications = getAppBundles(device).value_or(PropertyDictionary{});
    for (const auto& [identifier, value] : applications) {
        const auto* attributes = value.dictionary();
        if (attributes == nullptr) {
            continue;
        }
        if (auto record = recordOf(identifier, *attributes, onlyFileSharing)) {
            catalogue.push_back(*std::move(record));
        }
    }
    // A stable sort stays within bounds even when a locale's order is not a consistent one.
    std::stable_sort(catalogue.begin(), catalogue.end(),
                     [&collation = platform_.collation](const AppRecord& a, const AppRecord& b) {
                         const int byName = collation.localizedCaseInsensitiveCompare(
                             textOr(a, "name"), textOr(b, "name"));
                         return byName != 0 ? byName < 0
                                            : collation.localizedCaseInsensitiveCompare(
                                                  textOr(a, "ID"), textOr(b, "ID")) < 0;
                     });
    setFileShareAppBundlesArray(catalogue);
    return catalogue;
}

std::optional<AppCatalogue> PodPhone::fileShareAppBundlesArray() const {
    const std::lock_guard guard(stateMutex_);
    return fileShareAppBundlesArray_;
}

void PodPhone::setFileShareAppBundlesArray(std::optional<AppCatalogue> catalogue) {
    const std::lock_guard guard(stateMutex_);
    fileShareAppBundlesArray_ = std::move(catalogue);
}

}  // namespace quillbox
