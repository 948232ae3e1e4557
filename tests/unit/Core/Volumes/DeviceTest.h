// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Volumes/DeviceInformationWindow.h"
#include "Core/Volumes/MFDiskFilesystem.h"
#include "Core/Volumes/iPodDevice.h"
#include "Fakes/World.h"

namespace quillbox::fakes {

class FakeInformationWindow final : public DeviceInformationWindow {
public:
    void displayAboutThisDevice(iPodDevice& device) override { shown.push_back(&device); }

    void closeAboutThisDeviceWindow() override { ++closed; }

    std::vector<const iPodDevice*> shown;
    int closed = 0;
};

/// With a top menu, a status item and the information window in place.
class DeviceTest : public CoreTest {
protected:
    void SetUp() override {
        auto& common = CommonData::sharedInstance();
        for (const char* title : {"one", "two", "three"}) {
            topMenu->addItem(std::make_shared<MenuItem>(title));
        }
        topMenu->addItem(CommonData::makePlaceholderItem());
        common.setTopMenu(topMenu);
        common.setStatusItem(statusItem);
        common.setDeviceInformationWindow(&window);
        isShowAppIconWhenMounted_ = true;
    }

    std::shared_ptr<PodPhone> session(am_device& device, bool allowsRoot = false) {
        auto phone = std::make_shared<PodPhone>(world.platform);
        EXPECT_TRUE(phone->initializePodPhone(&device, allowsRoot));
        return phone;
    }

    std::shared_ptr<iPodDevice> attach(am_device& device, bool allowsRoot = false) {
        return iPodDevice::initWithIPhone(session(device, allowsRoot));
    }

    std::shared_ptr<iPodDevice> attachAndMount(am_device& device) {
        auto made = attach(device);
        made->startMount();
        world.fileSystems.finishMount(world.fileSystems.last());
        return made;
    }

    Texts titles() const {
        Texts all;
        for (const auto& item : topMenu->items()) {
            all.push_back(item->title());
        }
        return all;
    }

    /// The submenu of a device's connection roots: "title tag", with a "*" where the mark is.
    static Texts roots(const iPodDevice& device) {
        Texts all;
        for (const auto& item : device.submi_connectionRoot()->submenu()->items()) {
            all.push_back(item->isSeparator() ? "-"
                                              : item->title() + " " + std::to_string(item->tag()) +
                                                    (item->state() ? " *" : ""));
        }
        return all;
    }

    static std::shared_ptr<MenuItem> root(const iPodDevice& device, std::int32_t tag) {
        return device.submi_connectionRoot()->submenu()->itemWithTag(tag);
    }

    /// What a picture shows: the name of a resource, or the picture that it was drawn from.
    static std::string pictureOf(const MenuItem& item) {
        if (!item.image()) {
            return "none";
        }
        const std::string story = FakeImaging::story(*item.image());
        const auto at = story.find("picture ");
        return at == std::string::npos ? item.image()->resourceName
                                       : story.substr(at, story.find(' ', at + 8) - at);
    }

    /// The titles of a device's enabled items.
    static Texts enabled(const iPodDevice& device) {
        Texts all;
        for (const auto& item : {device.submi_revealInFinder(), device.submi_connectionRoot(),
                                 device.submi_startMount(), device.submi_stopMount(),
                                 device.submi_aboutThisDevice()}) {
            if (item->isEnabled()) {
                all.push_back(item->title());
            }
        }
        return all;
    }

    am_device second{
        {{"DeviceName", "Red Phone"}, {"SerialNumber", "SERIAL2"}, {"UniqueDeviceID", "UDID2"}},
        {},
        {"com.apple.afc"}};
    std::shared_ptr<Menu> topMenu = std::make_shared<Menu>();
    std::shared_ptr<FakeStatusItem> statusItem = std::make_shared<FakeStatusItem>();
    FakeInformationWindow window;

    const Texts mountedItems{"Reveal In Finder", "Change Connection Root", "Unmount Device",
                             "Device Info"};
};

}  // namespace quillbox::fakes
