// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Platform/LogLine.h"
#include "Core/Session/PodPhone.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Settings/SettingsKeys.h"

namespace quillbox {

namespace {

constexpr const char* kRootService = "com.apple.afc2";
constexpr const char* kMediaService = "com.apple.afc";
constexpr int kPaired = 1;

bool isApplicationTag(std::int32_t tag) {
    return tag >= kRootTagApplication;
}

const std::string* textIn(const AppRecord& record, std::string_view key) {
    const auto* value = find(record, key);
    return value != nullptr ? value->string() : nullptr;
}

}  // namespace

PodPhone::PodPhone(const Platform& platform) : platform_(platform) {}

// What is open on the device stays open: it ends with the device.
PodPhone::~PodPhone() = default;

bool PodPhone::initializePodPhone(AMDeviceRef device, bool allowAFC2) {
    auto& devices = platform_.devices;
    if (devices.AMDeviceConnect(device) != 0 || devices.AMDeviceIsPaired(device) != kPaired ||
        devices.AMDeviceValidatePairing(device) != 0 || devices.AMDeviceStartSession(device) != 0) {
        return false;
    }
    connectionLock_ = platform_.locks.makeLock(device);

    AFCConnectionRef handle = 0;
    bool isStarted = false;
    if (allowAFC2) {
        isStarted = devices.AMDeviceStartService(device, kRootService, &handle, nullptr) == 0;
        isJailbreaked_ = isStarted;
    }
    if (!isStarted && devices.AMDeviceStartService(device, kMediaService, &handle, nullptr) != 0) {
        return false;
    }
    AFCConnectionRef connection = 0;
    if (platform_.afc.AFCConnectionOpen(handle, 0, &connection) != kAFCSuccess) {
        return false;
    }
    setMyDevice(device);
    currentRootTag_ = isJailbreaked_ ? kRootTagRoot : kRootTagMedia;
    lastMountTag_ = currentRootTag_.load();
    setMyConnection(connection);

    if (!serialNumber()) {
        const auto value = lockdownValue("SerialNumber");
        if (value && value->string() != nullptr) {
            setSerialNumber(*value->string());
        }
    }
    {
        const std::lock_guard guard(stateMutex_);
        isChangeNameDictionary_.clear();
    }
    if (isMountLastPoint_) {
        restoreLastMountConnection();
    }
    return true;
}

bool PodPhone::restartSession() {
    auto& devices = platform_.devices;
    const AMDeviceRef device = myDevice_;
    platform_.afc.AFCConnectionClose(myConnection_);
    mappedRootTag_ = currentRootTag_.load();
    devices.AMDeviceStopSession(device);
    devices.AMDeviceDisconnect(device);
    return devices.AMDeviceConnect(device) == 0 && devices.AMDeviceIsPaired(device) == kPaired &&
           devices.AMDeviceValidatePairing(device) == 0 &&
           devices.AMDeviceStartSession(device) == 0;
}

bool PodPhone::startServiceForRoot(std::int32_t tag) {
    auto& devices = platform_.devices;
    const AMDeviceRef device = myDevice_;
    AFCConnectionRef handle = myConnection_;
    int result = 0;
    if (tag == kRootTagRoot || tag == kRootTagMedia) {
        result = devices.AMDeviceStartService(
            device, tag == kRootTagRoot ? kRootService : kMediaService, &handle, nullptr);
    } else if (isApplicationTag(tag)) {
        const AppCatalogue catalogue = getUserAppBundlesArray(isOnlyShowFileSharingApp_);
        const auto index = static_cast<std::size_t>(tag - kRootTagApplication);
        if (index >= catalogue.size()) {
            return false;
        }
        const std::string* identifier = textIn(catalogue[index], "ID");
        result = devices.AMDeviceStartHouseArrestService(
            device, identifier != nullptr ? *identifier : std::string(), nullptr, &handle, nullptr);
    } else {
        return false;
    }
    setMyConnection(handle);
    return result == 0;
}

bool PodPhone::setupConnectionForRoot(std::int32_t tag) {
    auto& log = platform_.log;
    logLine(log, LogLevel::Info, "setupConnectionForRoot:", tag);
    if (tag == currentRootTag_) {
        logLine(log, LogLevel::Info, "tagIndex = currentRootTag");
        return true;
    }
    currentRootTag_ = tag;
    if (connectionLock_ && !connectionLock_->lock()) {
        return false;  // the wait was ended: nothing is held
    }
    if (myConnection_ != 0 && !restartSession()) {
        return false;  // the lock stays held, on purpose: this session is beyond use
    }
    bool isOpen = startServiceForRoot(tag);
    if (isOpen) {
        AFCConnectionRef connection = myConnection_;
        isOpen = platform_.afc.AFCConnectionOpen(connection, 0, &connection) == kAFCSuccess;
        setMyConnection(connection);
    }
    if (isOpen) {
        setCurrentDirectory("/");
    }
    if (connectionLock_) {
        connectionLock_->unlock();
    }
    return isOpen;
}

std::optional<PropertyDictionary> PodPhone::saveConnectionPoint() {
    const std::int32_t tag = currentRootTag_;
    PropertyDictionary record;
    record.insert_or_assign(std::string(setting_lastMountPoint_appBundle), kRootService);
    if (tag == kRootTagMedia) {
        record.insert_or_assign(std::string(setting_lastMountPoint_appBundle), kMediaService);
    } else if (isApplicationTag(tag)) {
        const AppCatalogue catalogue = getUserAppBundlesArray(isOnlyShowFileSharingApp_);
        const AppRecord& app = catalogue.at(static_cast<std::size_t>(tag - kRootTagApplication));
        if (const std::string* identifier = textIn(app, "ID")) {
            record.insert_or_assign(std::string(setting_lastMountPoint_appBundle), *identifier);
        }
    }
    const auto identifier = uniqueDeviceID();
    if (!identifier) {
        logLine(platform_.log, LogLevel::Warning, "uniqueDeviceID == nil");
        return std::nullopt;
    }
    platform_.preferences.setObject(*identifier, record);
    platform_.preferences.synchronize();
    return record;
}

void PodPhone::restoreLastMountConnection() {
    auto& log = platform_.log;
    logLine(log, LogLevel::Info, "restoreLastMountConnection");
    const auto identifier = uniqueDeviceID();
    if (!identifier) {
        logLine(log, LogLevel::Warning, "uniqueDeviceID == nil");
        return;
    }
    const auto record = platform_.preferences.dictionaryForKey(*identifier);
    const std::string* saved = record ? textIn(*record, setting_lastMountPoint_appBundle) : nullptr;
    if (saved == nullptr) {
        return;
    }
    std::int32_t target = kRootTagNone;
    if (*saved == kRootService) {
        // A device that offers Root stands there already; any other stays on Media.
        logLine(log, LogLevel::Info, "AMDeviceStartService:", *saved);
        return;
    }
    if (*saved == kMediaService) {
        logLine(log, LogLevel::Info, "AMDeviceStartService:", *saved);
        if (!isJailbreaked_) {
            return;
        }
        target = kRootTagMedia;
    } else {
        logLine(log, LogLevel::Info, "AMDeviceStartHouseArrestService:", *saved);
        const AppCatalogue catalogue = getUserAppBundlesArray(isOnlyShowFileSharingApp_);
        std::int32_t tag = kRootTagApplication;
        for (const AppRecord& app : catalogue) {
            const std::string* candidate = textIn(app, "ID");
            if (candidate != nullptr && *candidate == *saved) {
                target = tag;
                break;
            }
            ++tag;
        }
        if (target == kRootTagNone) {
            return;
        }
    }
    lastMountTag_ = target;
    setupConnectionForRoot(target);
}

bool PodPhone::connectToApp(AMDeviceRef device, const std::string& appBundleIdentifier) {
    AFCConnectionRef handle = 0;
    if (platform_.devices.AMDeviceStartHouseArrestService(device, appBundleIdentifier, nullptr,
                                                          &handle, nullptr) != 0) {
        return false;
    }
    AFCConnectionRef connection = 0;
    if (platform_.afc.AFCConnectionOpen(handle, 0, &connection) == kAFCSuccess) {
        setMyDevice(device);
        setMyConnection(connection);
    }
    return true;
}

void PodPhone::ReConnect(bool allowAFC2) {
    const AMDeviceRef device = myDevice_;
    platform_.afc.AFCConnectionClose(myConnection_);
    platform_.devices.AMDeviceStopSession(device);
    platform_.devices.AMDeviceDisconnect(device);
    initializePodPhone(device, allowAFC2);
}

std::string PodPhone::currentDirectory() const {
    const std::lock_guard guard(stateMutex_);
    return currentDirectory_;
}

void PodPhone::setCurrentDirectory(std::string path) {
    const std::lock_guard guard(stateMutex_);
    currentDirectory_ = std::move(path);
}

std::optional<std::string> PodPhone::serialNumber() const {
    const std::lock_guard guard(stateMutex_);
    return serialNumber_;
}

void PodPhone::setSerialNumber(std::optional<std::string> serialNumber) {
    const std::lock_guard guard(stateMutex_);
    serialNumber_ = std::move(serialNumber);
}

}  // namespace quillbox
