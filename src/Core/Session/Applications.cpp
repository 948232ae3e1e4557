// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/PathText.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/CachedFlags.h"

#include <algorithm>

namespace quillbox {

namespace {

/// The picture that a store puts beside an application, in no format in particular.
constexpr const char* kArtwork = "iTunesArtwork";

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

std::optional<Image> PodPhone::getImageBy(std::int64_t index) {
    // The connection is about to serve no root of the menu: the next switch must reconnect.
    currentRootTag_ = kRootTagNone;
    const AppCatalogue catalogue = getUserAppBundlesArray(isOnlyShowFileSharingApp_);
    if (static_cast<std::uint64_t>(index) >= catalogue.size()) {
        if (connectionLock_) {
            connectionLock_->unlock();
        }
        return std::nullopt;
    }
    const std::string identifier = textOr(catalogue[static_cast<std::size_t>(index)], "ID");
    if (myConnection_ != 0 && !restartSession()) {
        return std::nullopt;
    }
    AFCConnectionRef connection = myConnection_;
    if (platform_.devices.AMDeviceStartHouseArrestService(myDevice_, identifier, nullptr,
                                                          &connection, nullptr) != 0) {
        return std::nullopt;
    }
    const bool isOpen = platform_.afc.AFCConnectionOpen(connection, 0, &connection) == kAFCSuccess;
    setMyConnection(connection);
    const auto artwork =
        isOpen ? readDataOfFile(stringByAppendingPathComponent("/", kArtwork)) : std::nullopt;
    return artwork ? platform_.images.imageWithData(*artwork) : std::nullopt;
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
