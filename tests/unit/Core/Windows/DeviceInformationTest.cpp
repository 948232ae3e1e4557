// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/AboutThisDevice.h"
#include "Core/Windows/ValueText.h"
#include "Volumes/DeviceTest.h"

#include <algorithm>
#include <cmath>

namespace quillbox::fakes {
namespace {

class DeviceInformationTest : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        world.afc.setDeviceInfo({{"FSTotalBytes", "4294967296"}, {"FSFreeBytes", "3221225472"}});
        world.fileManager.fileSystems["/usr/bin/quillbox"] = {
            {"NSFileSystemSize", std::uint64_t{8589934592}},
            {"NSFileSystemFreeSize", std::uint64_t{2147483648}},
            {"NSFileSystemNodes", std::uint64_t{1}}};
        world.device.values.insert({{"ProductVersion", "17.5"},
                                    {"PhoneNumber", "+49 30 1234567"},
                                    {"FirmwareVersion", "iBoot-10151.122.1"},
                                    {"ModelNumber", "MGJ53"},
                                    {"DeviceClass", "iPhone"}});
    }

    /// Shows a device and forgets what was recorded until then.
    void show(am_device& device) {
        const auto made = attach(device);
        world.calls.take();
        world.log.take();
        AboutThisDevice::displayAboutThisDevice(made.get());
    }

    FakeInterfaceFile& file() { return world.interfaceFiles.file("AboutThisDevice"); }

    std::string text(const std::string& outlet) { return file().textField(outlet).value; }

    std::string picture() {
        const auto& image = file().imageView("iv_deviceIcon").image;
        return image ? image->resourceName : "none";
    }
};

TEST_F(DeviceInformationTest, TheWindowComesFirstAndIsThenFilledInOrder) {
    show(world.device);
    Texts shown;
    for (const auto& call : world.calls.take()) {
        if (call.find("AMDevice") == std::string::npos && !call.starts_with("AFC")) {
            shown.push_back(call);
        }
    }
    ASSERT_GE(shown.size(), 22U);
    shown.resize(22);
    EXPECT_EQ(shown, (Texts{"loadNibNamed AboutThisDevice",
                            "arrangeInFront",
                            "AboutThisDevice showWindow",
                            "activate ignoringOtherApps",
                            "tf_deviceName = Blue Phone",
                            "tf_capacity = 4.0 GB",
                            "tf_iosVersion = 17.5",
                            "tf_serialNumber = SERIAL1",
                            "tf_phoneNumber = +49 30 1234567",
                            "tf_firmwareVersion = iBoot-10151.122.1",
                            "tf_modelNumber = MGJ53",
                            "tf_UDID = UDID1",
                            "pi_deviceCapacity = 0.250000",
                            "tf_deviceCapacity_used = 1.0 GB",
                            "tf_deviceCapacity_free = 3.0 GB",
                            "attributesOfFileSystemForPath /usr/bin/quillbox",
                            "pi_hardDiskCapacity = 0.750000",
                            "tf_hardDiskCapacity_used = 6.0 GB",
                            "tf_hardDiskCapacity_free = 2.0 GB",
                            "iv_deviceIcon = Apple iPhone",
                            "tf_activationState = Not available",
                            "tf_activationStateAcknowledged = Not available"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"this float = 0.250000, total = 4294967296, free = 3221225472"}));
}

/// The fields of the sheet in their order, with the key that each one shows.
const std::vector<std::pair<std::string, std::string>> kSheetKeys{
    {"tf_activationState", "ActivationState"},
    {"tf_activationStateAcknowledged", "ActivationStateAcknowledged"},
    {"tf_basebandBootloaderVersion", "BasebandBootloaderVersion"},
    {"tf_basebandVersion", "BasebandVersion"},
    {"tf_bluetoothAddress", "BluetoothAddress"},
    {"tf_productType", "ProductType"},
    {"tf_buildVersion", "BuildVersion"},
    {"tf_deviceCertificate", "DeviceCertificate"},
    {"tf_deviceClass", "DeviceClass"},
    {"tf_devicePublicKey", "DevicePublicKey"},
    {"tf_fostAttached", "HostAttached"},
    {"tf_integratedCircuitCardIdentity", "IntegratedCircuitCardIdentity"},
    {"tf_internationalMobileEquipmentIdentity", "InternationalMobileEquipmentIdentity"},
    {"tf_internationalMobileSubscriberIdentity", "InternationalMobileSubscriberIdentity"},
    {"tf_protocolVersion", "ProtocolVersion"},
    {"tf_regionInfo", "RegionInfo"},
    {"tf_sBLockdownEverRegisteredKey", "SBLockdownEverRegisteredKey"},
    {"tf_sIMStatus", "SIMStatus"},
    {"tf_somebodySetTimeZone", "SomebodySetTimeZone"},
    {"tf_timeIntervalSince1970", "TimeIntervalSince1970"},
    {"tf_timeZone", "TimeZone"},
    {"tf_timeZoneOffsetFromUTC", "TimeZoneOffsetFromUTC"},
    {"tf_trustedHostAttached", "TrustedHostAttached"},
    {"tf_uses24HourClock", "Uses24HourClock"},
    {"tf_wiFiAddress", "WiFiAddress"},
    {"tf_iTunesHasConnected", "iTunesHasConnected"}};

TEST_F(DeviceInformationTest, TheSheetShowsItsTwentySixValuesInOrderAskedAnewEachTime) {
    for (const auto& [outlet, key] : kSheetKeys) {
        world.device.values.insert_or_assign(key, "value of " + key);
    }
    show(world.device);
    Texts expected;
    for (const auto& [outlet, key] : kSheetKeys) {
        expected.push_back("AMDeviceCopyValue " + key);
        expected.push_back(outlet + " = value of " + key);
    }
    Texts calls = world.calls.take();
    ASSERT_GE(calls.size(), expected.size());
    EXPECT_EQ(Texts(calls.end() - static_cast<std::ptrdiff_t>(expected.size()), calls.end()),
              expected);
    world.device.values.insert_or_assign("HostAttached", "another");
    AboutThisDevice::displayAboutThisDevice(
        CommonData::sharedInstance().md_connectedDevices()->at("SERIAL1").get());
    EXPECT_EQ(text("tf_fostAttached"), "another");
    calls = world.calls.take();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "AMDeviceCopyValue WiFiAddress"), 1);
}

TEST_F(DeviceInformationTest, MissingValuesReadNotAvailable) {
    for (const char* key : {"ProductVersion", "PhoneNumber", "FirmwareVersion", "ModelNumber",
                            "UniqueDeviceID", "DeviceName", "SerialNumber"}) {
        world.device.values.erase(key);
    }
    show(world.device);
    for (const char* outlet : {"tf_deviceName", "tf_iosVersion", "tf_serialNumber",
                               "tf_phoneNumber", "tf_firmwareVersion", "tf_modelNumber", "tf_UDID",
                               "tf_activationState", "tf_iTunesHasConnected"}) {
        EXPECT_EQ(text(outlet), "Not available") << outlet;
    }
}

TEST_F(DeviceInformationTest, TheFreeSpaceIsTheOneThatTheDeviceObjectKeeps) {
    show(world.device);
    world.afc.setDeviceInfo({{"FSTotalBytes", "4294967296"}, {"FSFreeBytes", "1073741824"}});
    AboutThisDevice::displayAboutThisDevice(
        CommonData::sharedInstance().md_connectedDevices()->at("SERIAL1").get());
    EXPECT_EQ(text("tf_deviceCapacity_free"), "3.0 GB");
}

TEST_F(DeviceInformationTest, AnEmptyDeviceHasNothingInUse) {
    world.afc.setDeviceInfo({{"FSTotalBytes", "4294967296"}, {"FSFreeBytes", "4294967296"}});
    show(world.device);
    EXPECT_EQ(file().levelBar("pi_deviceCapacity").value, 0.0);
    EXPECT_EQ(text("tf_deviceCapacity_used"), "");
    EXPECT_EQ(text("tf_deviceCapacity_free"), "4.0 GB");
}

TEST_F(DeviceInformationTest, ADeviceWithoutAnySpaceGivesAFractionThatIsNoNumber) {
    world.afc.setDeviceInfo({});
    show(world.device);
    EXPECT_TRUE(std::isnan(file().levelBar("pi_deviceCapacity").value.value_or(0)));
    EXPECT_EQ(text("tf_capacity"), "");
    EXPECT_EQ(world.log.take(), (Texts{"this float = nan, total = 0, free = 0"}));
}

TEST_F(DeviceInformationTest, MoreFreeThanThereIsWrapsRound) {
    world.afc.setDeviceInfo({{"FSTotalBytes", "1"}, {"FSFreeBytes", "2"}});
    show(world.device);
    EXPECT_EQ(world.log.take(),
              (Texts{"this float = 18446744073709551616.000000, total = 1, free = 2"}));
    EXPECT_EQ(text("tf_deviceCapacity_used"), "17179869184.0 GB");
}

TEST_F(DeviceInformationTest, ADiskThatTellsTooLittleShowsAQuestionMarkAndLeavesTheRest) {
    show(world.device);
    world.fileManager.fileSystems["/usr/bin/quillbox"].erase("NSFileSystemNodes");
    AboutThisDevice::displayAboutThisDevice(nullptr);
    EXPECT_EQ(text("tf_hardDiskCapacity_free"), "?");
    EXPECT_EQ(text("tf_hardDiskCapacity_used"), "6.0 GB");
    EXPECT_EQ(file().levelBar("pi_hardDiskCapacity").value, 0.75);
}

TEST_F(DeviceInformationTest, ADiskThatCannotBeAskedShowsAQuestionMark) {
    world.fileManager.fileSystems.clear();
    show(world.device);
    EXPECT_EQ(text("tf_hardDiskCapacity_free"), "?");
    EXPECT_EQ(text("tf_hardDiskCapacity_used"), "");
    EXPECT_EQ(file().levelBar("pi_hardDiskCapacity").value, std::nullopt);
}

TEST_F(DeviceInformationTest, ThePictureFollowsTheExactClass) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"iPhone", "Apple iPhone"}, {"iPod", "Apple iTouch"},    {"iPad", "Apple iPad"},
        {"iphone", "QuillboxIcon"}, {"iPhone ", "QuillboxIcon"}, {"Watch", "QuillboxIcon"}};
    for (const auto& [deviceClass, expected] : cases) {
        world.device.values.insert_or_assign("DeviceClass", deviceClass);
        show(world.device);
        EXPECT_EQ(picture(), expected) << deviceClass;
    }
    world.device.values.erase("DeviceClass");
    show(world.device);
    EXPECT_EQ(picture(), "QuillboxIcon");
}

TEST_F(DeviceInformationTest, WithoutADeviceEveryFieldShowsItsMissingValue) {
    AboutThisDevice::displayAboutThisDevice(nullptr);
    EXPECT_EQ(text("tf_deviceName"), "Not available");
    EXPECT_EQ(text("tf_capacity"), "");
    EXPECT_EQ(text("tf_UDID"), "Not available");
    EXPECT_EQ(text("tf_deviceCapacity_used"), "N/A");
    EXPECT_EQ(text("tf_deviceCapacity_free"), "N/A");
    EXPECT_EQ(file().levelBar("pi_deviceCapacity").value, std::nullopt);
    EXPECT_EQ(text("tf_hardDiskCapacity_free"), "2.0 GB");
    EXPECT_EQ(picture(), "QuillboxIcon");
    for (const auto& [outlet, key] : kSheetKeys) {
        EXPECT_EQ(text(outlet), "Not available") << outlet;
    }
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(DeviceInformationTest, ASecondDeviceRefreshesTheSameWindow) {
    show(world.device);
    second.values.insert_or_assign("DeviceClass", "iPad");
    show(second);
    EXPECT_EQ(world.calls.count("loadNibNamed"), 0U);
    EXPECT_EQ(text("tf_deviceName"), "Red Phone");
    EXPECT_EQ(text("tf_UDID"), "UDID2");
    EXPECT_EQ(text("tf_iosVersion"), "Not available");
    EXPECT_EQ(picture(), "Apple iPad");
}

TEST_F(DeviceInformationTest, TheSheetOpensOnTheWindowAndEnds) {
    show(world.device);
    world.calls.take();
    file().perform("showMoreInfoWindow:");
    EXPECT_EQ(file().window().sheets, (std::vector<const Window*>{&file().window("win_moreInfo")}));
    int sender = 0;
    file().perform("endWin_moreInfo:", &sender);
    EXPECT_TRUE(file().window().sheets.empty());
    EXPECT_FALSE(file().window("win_moreInfo").isVisible());
    EXPECT_EQ(world.calls.take(), (Texts{"AboutThisDevice beginSheet", "AboutThisDevice endSheet",
                                         "win_moreInfo orderOut sender"}));
}

TEST_F(DeviceInformationTest, ClosingEndsTheSheetThenClosesBothWindows) {
    show(world.device);
    file().perform("showMoreInfoWindow:");
    world.calls.take();
    int sender = 0;
    file().perform("closeWindow:", &sender);
    EXPECT_EQ(world.calls.take(),
              (Texts{"AboutThisDevice endSheet", "win_moreInfo orderOut",
                     "win_moreInfo performClose itself", "AboutThisDevice performClose sender"}));
    EXPECT_FALSE(file().window().isVisible());
}

TEST_F(DeviceInformationTest, TheSharedWindowIsClosedOnlyWhereThereIsOne) {
    SharedDeviceInformationWindow shared;
    shared.closeAboutThisDeviceWindow();
    EXPECT_EQ(world.calls.take(), Texts{});
    const auto device = attach(world.device);
    shared.displayAboutThisDevice(*device);
    EXPECT_TRUE(file().window().isVisible());
    shared.closeAboutThisDeviceWindow();
    shared.closeAboutThisDeviceWindow();
    EXPECT_FALSE(file().window().isVisible());
}

TEST_F(DeviceInformationTest, EightDevicesComeAndGoWhileItIsOpen) {
    SharedDeviceInformationWindow shared;
    CommonData::sharedInstance().setDeviceInformationWindow(&shared);
    std::vector<am_device> devices(8, second);
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const std::string number = std::to_string(i);
        devices[i].values.insert_or_assign("DeviceName", "Phone " + number);
        devices[i].values.insert_or_assign("SerialNumber", "S" + number);
        attachAndMount(devices[i])->submi_aboutThisDevice()->perform();
        EXPECT_EQ(text("tf_deviceName"), "Phone " + number);
        file().perform("showMoreInfoWindow:");
        if (i % 2 == 1) {
            iPodDevice::removeConnectedDeviceFromCollection("S" + number);
            EXPECT_FALSE(file().window().isVisible());
        }
    }
    EXPECT_EQ(CommonData::sharedInstance().md_connectedDevices()->size(), 4U);
    CommonData::sharedInstance().setDeviceInformationWindow(nullptr);
}

TEST_F(DeviceInformationTest, EveryActionHasItsSelector) {
    show(world.device);
    EXPECT_EQ(file().selectors(),
              (Texts{"closeWindow:", "endWin_moreInfo:", "showMoreInfoWindow:"}));
}

TEST(ValueTextTest, ValuesOfEveryKindHaveATextOnOneLine) {
    EXPECT_EQ(valueText(std::nullopt), std::nullopt);
    EXPECT_EQ(valueText("Europe/Berlin +2"), "Europe/Berlin +2");
    EXPECT_EQ(valueText(""), "");
    EXPECT_EQ(valueText(true), "1");
    EXPECT_EQ(valueText(false), "0");
    EXPECT_EQ(valueText(7200), "7200");
    EXPECT_EQ(valueText(PropertyData{0x2d, 0x2d, 0x2d, 0x2d, 0xff, 0x00}), "<2d2d2d2d ff00>");
    EXPECT_EQ(valueText(PropertyData{}), "<>");
    EXPECT_EQ(valueText(PropertyArray{1, 2}), "( 1, 2 )");
}

}  // namespace
}  // namespace quillbox::fakes
