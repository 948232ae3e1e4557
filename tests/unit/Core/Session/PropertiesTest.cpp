// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class PropertiesTest : public SessionTest {};

TEST_F(PropertiesTest, TheDevicesFiguresAreReadAsNumbers) {
    EXPECT_EQ(phone.getDeviceInfo(), (DeviceInfo{{"Model", 0},
                                                 {"FSTotalBytes", 17179869184},
                                                 {"FSFreeBytes", 1073741824},
                                                 {"FSBlockSize", 4096}}));
    EXPECT_EQ(world.calls.take(),
              (Texts{"AFCDeviceInfoOpen", "AFCKeyValueRead", "AFCKeyValueRead", "AFCKeyValueRead",
                     "AFCKeyValueRead", "AFCKeyValueRead", "AFCKeyValueClose"}));
    EXPECT_EQ(world.afc.openAnswers(), 0U);
}

TEST_F(PropertiesTest, EachFigureIsAskedAnew) {
    EXPECT_EQ(phone.getDeviceCapacity(), 17179869184U);
    EXPECT_EQ(phone.getDeviceFreeSpace(), 1073741824U);
    EXPECT_EQ(phone.getDeviceBlockSize(), 4096U);
    EXPECT_EQ(world.calls.count("AFCDeviceInfoOpen"), 3U);
}

TEST_F(PropertiesTest, EachConnectionRootHasFiguresOfItsOwn) {
    world.afc.setDeviceInfo({{"FSTotalBytes", "100"}, {"FSFreeBytes", "10"}}, "Root");
    EXPECT_EQ(phone.getDeviceCapacity(), 17179869184U);
    world.device.services.insert("com.apple.afc2");
    ASSERT_TRUE(phone.setupConnectionForRoot(10));
    EXPECT_EQ(phone.getDeviceCapacity(), 100U);
    EXPECT_EQ(phone.getDeviceFreeSpace(), 10U);
}

TEST_F(PropertiesTest, AFigureBeyondTheSignedRangeIsClamped) {
    world.afc.setDeviceInfo({{"FSTotalBytes", "18446744073709551615"}});
    EXPECT_EQ(phone.getDeviceCapacity(), 9223372036854775807U);
}

TEST_F(PropertiesTest, LeadingDigitsCountAndAMissingFigureIsZero) {
    world.afc.setDeviceInfo({{"FSTotalBytes", " 12abc"}, {"FSFreeBytes", "abc"}});
    EXPECT_EQ(phone.getDeviceCapacity(), 12U);
    EXPECT_EQ(phone.getDeviceFreeSpace(), 0U);
    EXPECT_EQ(phone.getDeviceBlockSize(), 0U);
}

TEST_F(PropertiesTest, WithoutAnAnswerThereIsNoInformationAndTheFiguresAreZero) {
    phone.setMyConnection(0);
    EXPECT_EQ(phone.getDeviceInfo(), std::nullopt);
    EXPECT_EQ(phone.getDeviceCapacity(), 0U);
    EXPECT_EQ(phone.getDeviceFreeSpace(), 0U);
    EXPECT_EQ(phone.getDeviceBlockSize(), 0U);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(PropertiesTest, AFailedReadLeavesTheAnswerOpen) {
    world.calls.fail("AFCKeyValueRead", 1, 2);
    EXPECT_EQ(phone.getDeviceInfo(), std::nullopt);
    EXPECT_EQ(world.calls.count("AFCKeyValueClose"), 0U);
    EXPECT_EQ(world.afc.openAnswers(), 1U);
}

TEST_F(PropertiesTest, AFailedCloseGivesNoInformation) {
    world.calls.fail("AFCKeyValueClose", 1);
    EXPECT_EQ(phone.getDeviceInfo(), std::nullopt);
}

struct Getter {
    const char* key;
    std::optional<PropertyValue> (PodPhone::*ask)();
};

class LockdownTest : public SessionTest, public ::testing::WithParamInterface<Getter> {};

TEST_P(LockdownTest, ReadsItsKeyOfTheGlobalDomainAtEachCall) {
    const auto [key, ask] = GetParam();
    world.device.values.erase(key);
    EXPECT_EQ((phone.*ask)(), std::nullopt);
    world.device.values.insert_or_assign(key, PropertyData{1, 2});
    EXPECT_EQ((phone.*ask)(), PropertyValue(PropertyData{1, 2}));
    const std::string call = std::string("AMDeviceCopyValue ") + key;
    EXPECT_EQ(world.calls.take(), (Texts{call, call}));
}

INSTANTIATE_TEST_SUITE_P(
    AllGetters, LockdownTest,
    ::testing::Values(Getter{"DeviceName", &PodPhone::deviceName},
                      Getter{"ActivationState", &PodPhone::activationState},
                      Getter{"ActivationStateAcknowledged", &PodPhone::activationStateAcknowledged},
                      Getter{"BasebandBootloaderVersion", &PodPhone::basebandBootloaderVersion},
                      Getter{"BasebandVersion", &PodPhone::basebandVersion},
                      Getter{"BluetoothAddress", &PodPhone::bluetoothAddress},
                      Getter{"BuildVersion", &PodPhone::buildVersion},
                      Getter{"DeviceCertificate", &PodPhone::deviceCertificate},
                      Getter{"DeviceClass", &PodPhone::deviceClass},
                      Getter{"DevicePublicKey", &PodPhone::devicePublicKey},
                      Getter{"FirmwareVersion", &PodPhone::firmwareVersion},
                      Getter{"HostAttached", &PodPhone::fostAttached},
                      Getter{"IntegratedCircuitCardIdentity",
                             &PodPhone::integratedCircuitCardIdentity},
                      Getter{"InternationalMobileEquipmentIdentity",
                             &PodPhone::internationalMobileEquipmentIdentity},
                      Getter{"InternationalMobileSubscriberIdentity",
                             &PodPhone::internationalMobileSubscriberIdentity},
                      Getter{"ModelNumber", &PodPhone::modelNumber},
                      Getter{"PhoneNumber", &PodPhone::phoneNumber},
                      Getter{"ProductType", &PodPhone::productType},
                      Getter{"ProductVersion", &PodPhone::productVersion},
                      Getter{"ProtocolVersion", &PodPhone::protocolVersion},
                      Getter{"RegionInfo", &PodPhone::regionInfo},
                      Getter{"SBLockdownEverRegisteredKey", &PodPhone::sBLockdownEverRegisteredKey},
                      Getter{"SIMStatus", &PodPhone::sIMStatus},
                      Getter{"SomebodySetTimeZone", &PodPhone::somebodySetTimeZone},
                      Getter{"TimeIntervalSince1970", &PodPhone::timeIntervalSince1970},
                      Getter{"TimeZone", &PodPhone::timeZone},
                      Getter{"TimeZoneOffsetFromUTC", &PodPhone::timeZoneOffsetFromUTC},
                      Getter{"TrustedHostAttached", &PodPhone::trustedHostAttached},
                      Getter{"Uses24HourClock", &PodPhone::uses24HourClock},
                      Getter{"WiFiAddress", &PodPhone::wiFiAddress},
                      Getter{"iTunesHasConnected", &PodPhone::iTunesHasConnected}),
    [](const auto& each) { return std::string(each.param.key); });

TEST_F(PropertiesTest, TheIdentifierIsReadOnceForEachSession) {
    EXPECT_EQ(phone.uniqueDeviceID(), "UDID1");
    EXPECT_EQ(phone.uniqueDeviceID(), "UDID1");
    EXPECT_EQ(world.calls.count("AMDeviceCopyValue UniqueDeviceID"), 1U);
    EXPECT_EQ(phone.deviceUniqueDeviceID(), "UDID1");
}

TEST_F(PropertiesTest, AnAbsentIdentifierIsAskedAgain) {
    world.device.values.erase("UniqueDeviceID");
    EXPECT_EQ(phone.uniqueDeviceID(), std::nullopt);
    EXPECT_EQ(phone.uniqueDeviceID(), std::nullopt);
    EXPECT_EQ(world.calls.count("AMDeviceCopyValue UniqueDeviceID"), 2U);
}

}  // namespace
}  // namespace quillbox::fakes
