// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Volumes/CommonData.h"

#include "Core/Settings/CameraRollSwitch.h"

#include <stdexcept>

namespace quillbox {

namespace {

const Platform* g_platform = nullptr;
std::unique_ptr<CommonData> g_CommonDataSingleton;

}  // namespace

void CommonData::setPlatform(const Platform& platform) {
    g_platform = &platform;
}

CommonData& CommonData::sharedInstance() {
    if (!g_CommonDataSingleton) {
        if (g_platform == nullptr) {
            throw std::logic_error("CommonData has no platform");
        }
        g_CommonDataSingleton = std::make_unique<CommonData>(*g_platform);
    }
    return *g_CommonDataSingleton;
}

void CommonData::resetSharedInstance() {
    g_CommonDataSingleton.reset();
    g_platform = nullptr;
}

CommonData::CommonData(const Platform& platform)
    : platform_(platform),
      md_connectedDevices_(std::make_shared<ConnectedDevices>()),
      pictureTypes_{".jpg", ".jpeg", ".gif", ".thm", ".bmp", ".tiff", ".png"},
      videoTypes_{".mp4", ".m4v", ".mov", ".dv", ".3gpp", ".3gpp2", ".mp1", ".avi"},
      audioTypes_{".mp3", ".m4p", ".caf", ".wav", ".au",  ".midi",
                  ".mid", ".m4b", ".m4a", ".snd", ".sd2", ".amr"} {}

std::vector<std::shared_ptr<iPodDevice>> CommonData::connectedDevices() const {
    std::vector<std::shared_ptr<iPodDevice>> devices;
    if (md_connectedDevices_) {
        for (const auto& [serialNumber, device] : *md_connectedDevices_) {
            devices.push_back(device);
        }
    }
    return devices;
}

bool CommonData::isChangeNameOnCopyImages2DCIM() {
    return quillbox::isChangeNameOnCopyImages2DCIM(sharedInstance().platform().preferences);
}

std::shared_ptr<MenuItem> CommonData::makePlaceholderItem() {
    auto item = std::make_shared<MenuItem>(std::string(kPlaceholderTitle));
    item->setEnabled(false);
    return item;
}

}  // namespace quillbox
