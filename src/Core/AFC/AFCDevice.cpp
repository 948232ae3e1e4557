// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/AFC/AFCDevice.h"

#include "Core/AFC/AFCFactory.h"
#include "Core/AFC/NSException.h"
#include "Core/Platform/PathText.h"

#include <algorithm>

namespace quillbox {

namespace {

[[noreturn]] void raise(const std::string& reason) {
    throw NSException("AFCDevice", reason);
}

void require(std::int64_t error, const char* call) {
    if (error != 0) {
        raise(std::string(call) + " failed with error " +
              std::to_string(static_cast<std::int32_t>(error)));
    }
}

void append(AFCData& all, const std::optional<AFCData>& chunk) {
    if (chunk) {
        all.insert(all.end(), chunk->begin(), chunk->end());
    }
}

}  // namespace

std::shared_ptr<AFCDevice> AFCDevice::initWithRef(const std::shared_ptr<AFCDeviceRef>& ref) {
    if (!ref) {
        return nullptr;
    }
    auto made = std::make_shared<AFCDevice>(ref->platform());
    if (!made->open(ref)) {
        return nullptr;
    }
    made->platform_.notifications.addObserver(
        made.get(), AFC_DeviceWasDisconnected,
        [device = made.get()](const Notification& notice) { device->disconnected(notice); });
    return made;
}

AFCDevice::~AFCDevice() {
    platform_.notifications.removeObserver(this);
}

bool AFCDevice::open(const std::shared_ptr<AFCDeviceRef>& ref) {
    if (!initializeDevice(ref)) {
        return false;
    }
    const AFCConnectionRef connection = openDevice(ref, kAFCMediaService);
    if (connection == 0) {
        return false;
    }
    deviceInterface_ = std::make_shared<AFCInterface>(platform_, connection);
    return true;
}

bool AFCDevice::initializeDevice(const std::shared_ptr<AFCDeviceRef>& ref) {
    const AMDeviceRef device = ref ? ref->device() : nullptr;
    auto& devices = platform_.devices;
    require(devices.AMDeviceConnect(device), "AMDeviceConnect");
    // Whatever is not 0 counts as paired here.
    if (devices.AMDeviceIsPaired(device) == 0) {
        raise("Device pairing failed");
    }
    require(devices.AMDeviceValidatePairing(device), "AMDeviceValidatePairing");
    require(devices.AMDeviceStartSession(device), "AMDeviceStartSession");
    device_ = ref;
    return true;
}

AFCConnectionRef AFCDevice::openDevice(const std::shared_ptr<AFCDeviceRef>& ref,
                                       const std::string& withService) const {
    if (!ref) {
        return 0;
    }
    AFCConnectionRef service = 0;
    require(platform_.devices.AMDeviceStartService(ref->device(), withService, &service, nullptr),
            "AMDeviceStartService");
    if (service == 0) {
        raise("AMDeviceStartService didn't initialise a connection");
    }
    AFCConnectionRef connection = 0;
    require(platform_.afc.AFCConnectionOpen(service, 0, &connection), "AFCConnectionOpen");
    return connection;
}

void AFCDevice::setDeviceRef(const std::shared_ptr<AFCDeviceRef>& ref) {
    open(ref);
}

void AFCDevice::disconnected(const Notification& notification) {
    if (device_ && notification.number == device_->deviceID()) {
        if (const auto delegate = delegate_) {
            delegate->deviceWasDisconnected(*this);
        }
    }
}

std::optional<AFCFileRef> AFCDevice::openForReading(const std::string& path) const {
    if (!deviceInterface_ || !deviceInterface_->isFileAtPath(path)) {
        return std::nullopt;
    }
    return deviceInterface_->openFileAtPath(path, kAFCModeRead);
}

std::optional<AFCData> AFCDevice::contentsOfFileAtPath(const std::string& path) const {
    const auto opened = openForReading(path);
    if (!opened) {
        return std::nullopt;
    }
    AFCData all;
    const AFCFileRef file = *opened;
    if (file == 0) {
        return all;
    }
    // Each request asks for what the last one gave. One that fails changes neither, so that the
    // next one asks for the stretch behind it.
    std::uint32_t size = kAFCChunkSize;
    std::int64_t offset = 0;
    auto chunk = deviceInterface_->readFromFile(file, &size, offset);
    while (size != 0) {
        append(all, chunk);
        offset += size;
        chunk = deviceInterface_->readFromFile(file, &size, offset);
    }
    deviceInterface_->closeFile(file);
    return all;
}

std::optional<AFCData> AFCDevice::chunkOfFileAtPath(const std::string& path, AFCRange range) const {
    const auto opened = openForReading(path);
    if (!opened || *opened == 0) {
        return opened ? std::optional(AFCData()) : std::nullopt;
    }
    const AFCFileRef file = *opened;
    AFCData all;
    std::uint64_t remaining = range.length;
    auto offset = static_cast<std::int64_t>(range.location);
    auto size = static_cast<std::uint32_t>(std::min<std::uint64_t>(kAFCChunkSize, remaining));
    auto chunk = deviceInterface_->readFromFile(file, &size, offset);
    while (size != 0) {
        remaining -= size;
        append(all, chunk);
        offset += size;
        size = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, remaining));
        chunk = deviceInterface_->readFromFile(file, &size, offset);
    }
    deviceInterface_->closeFile(file);
    return all;
}

void AFCDevice::createFileAtPath(const std::string& path, const AFCData& withData) const {
    if (!deviceInterface_ ||
        !deviceInterface_->isDirectoryAtPath(stringByDeletingLastPathComponent(path))) {
        return;
    }
    const AFCFileRef file = deviceInterface_->openFileAtPath(path, kAFCModeWrite);
    if (file == 0) {
        return;
    }
    std::uint64_t remaining = withData.size();
    std::uint64_t offset = 0;
    std::uint64_t chunk = std::min<std::uint64_t>(kAFCChunkSize, remaining);
    while (remaining > 0) {
        deviceInterface_->writeToFile(file, withData.data() + offset, chunk,
                                      static_cast<std::int64_t>(offset));
        offset += chunk;
        remaining -= chunk;
        chunk = std::min(chunk, remaining);
    }
    deviceInterface_->closeFile(file);
}

void AFCDevice::deleteFileAtPath(const std::string& path) const {
    if (deviceInterface_ && deviceInterface_->isFileAtPath(path)) {
        deviceInterface_->removePath(path);
    }
}

std::vector<std::string> AFCDevice::listOf(const std::string& path,
                                           bool (AFCInterface::*isWanted)(const std::string&)
                                               const) const {
    if (!deviceInterface_) {
        return {};
    }
    auto names = deviceInterface_->listFilesInPath(path);
    std::erase_if(names, [&](const std::string& name) {
        return name.empty() || name == "." || name == ".." ||
               !(*deviceInterface_.*isWanted)(stringByAppendingPathComponent(path, name));
    });
    return names;
}

std::vector<std::string> AFCDevice::listOfFilesAtPath(const std::string& path) const {
    return listOf(path, &AFCInterface::isFileAtPath);
}

std::vector<std::string> AFCDevice::listOfFoldersAtPath(const std::string& path) const {
    return listOf(path, &AFCInterface::isDirectoryAtPath);
}

}  // namespace quillbox
