// SPDX-License-Identifier: GPL-3.0-or-later
#include "DeviceTesting.h"

#include <algorithm>

namespace quillbox::testing {

namespace {

constexpr const char* kSketches = "org.example.sketches";
/// Shares its documents and has no picture file of its own.
constexpr const char* kAtlas = "org.example.atlas";
constexpr const char* kArtwork = "/iTunesArtwork";

class ApplicationsTest : public DeviceTest {};

TEST_F(ApplicationsTest, LookupGivesTheAttributes) {
    start({"--devices", "1", "--sample"});
    AMDeviceRef device = connected();
    std::optional<PropertyDictionary> applications;
    ASSERT_EQ(am().AMDeviceLookupApplications(device, {}, &applications), 0);
    ASSERT_TRUE(applications);
    const PropertyValue* value = find(*applications, kSketches);
    ASSERT_TRUE(value != nullptr && value->dictionary() != nullptr);
    EXPECT_EQ(*find(*value->dictionary(), "CFBundleDisplayName"), PropertyValue{"Sketches"});
    EXPECT_EQ(*find(*value->dictionary(), "ApplicationType"), PropertyValue{"User"});

    simulator->control({"fail", "Lookup", "1", "UnknownCommand"});
    std::optional<PropertyDictionary> browsed;
    ASSERT_EQ(am().AMDeviceLookupApplications(device, {}, &browsed), 0);
    EXPECT_TRUE(browsed && browsed->contains(kSketches)) << "browsed where lookup is refused";

    simulator->control({"fail", "Lookup", "1", "Refusal"});
    simulator->control({"fail", "Browse", "1", "Refusal"});
    std::optional<PropertyDictionary> none;
    EXPECT_NE(am().AMDeviceLookupApplications(device, {}, &none), 0);
    EXPECT_FALSE(none);
    EXPECT_TRUE(log.has("applications could not be listed: Refusal"));
}

TEST_F(ApplicationsTest, WholeAreaWhereTheDeviceGivesIt) {
    start({"--devices", "1", "--sample"});
    const AFCConnectionRef area = openApplication(connected(), kSketches);
    ASSERT_NE(area, 0U);
    std::vector<std::string> names;
    EXPECT_EQ(list(area, "/", names), kAFCSuccess);
    EXPECT_NE(std::find(names.begin(), names.end(), "Documents"), names.end());
    EXPECT_EQ(writeAll(area, "/Documents/note", "text"), kAFCSuccess);
    EXPECT_TRUE(std::filesystem::exists(simulator->application(kSketches) / "Documents" / "note"));
}

TEST_F(ApplicationsTest, DocumentsOnlyHasATopThatListsThem) {
    start({"--devices", "1", "--sample", "--refuse-containers"});
    AMDeviceRef device = connected();
    const AFCConnectionRef area = openApplication(device, kSketches);
    ASSERT_NE(area, 0U);
    const auto check = [&] {
        std::vector<std::string> names;
        EXPECT_EQ(list(area, "/", names), kAFCSuccess);
        EXPECT_EQ(names, (std::vector<std::string>{".", "..", "Documents"}));
        std::map<std::string, std::string> values;
        EXPECT_EQ(info(area, "/", values), kAFCSuccess);
        EXPECT_EQ(values["st_ifmt"], "S_IFDIR");
        names.clear();
        EXPECT_EQ(list(area, "/Documents", names), kAFCSuccess);
        EXPECT_NE(std::find(names.begin(), names.end(), "First sketch.png"), names.end());
    };
    check();
    EXPECT_EQ(simulator->count("VendContainer"), 1);
    simulator->control({"drop-connections", udidOf(1)});
    aside(check);
    EXPECT_EQ(simulator->count("VendContainer"), 1) << "the same root is opened again";
    EXPECT_EQ(afc().AFCConnectionClose(area), kAFCSuccess);
    EXPECT_TRUE(loop.runUntil([&] {
        return simulator->control({"list"}).find("house_arrest=") == std::string::npos;
    })) << "nothing of it stays open";
}

TEST_F(ApplicationsTest, RefusedAltogetherSaysWhy) {
    start({"--devices", "1", "--sample", "--refuse-containers"});
    AMDeviceRef device = connected();
    AFCConnectionRef handle = 77;
    EXPECT_NE(am().AMDeviceStartHouseArrestService(device, "org.example.ledger", nullptr, &handle,
                                                   nullptr),
              0);
    EXPECT_EQ(handle, 77U);
    EXPECT_TRUE(log.has("the area of \"org.example.ledger\" could not be opened"));
    EXPECT_NE(am().AMDeviceStartHouseArrestService(device, "org.example.nobody", nullptr, &handle,
                                                   nullptr),
              0);
}

TEST_F(ApplicationsTest, PictureOfTheHomeScreenStandsInForTheArtwork) {
    start({"--devices", "1", "--sample", "--refuse-containers"});
    const AFCConnectionRef area = openApplication(connected(), kAtlas);
    ASSERT_NE(area, 0U);
    aside([&] {
        std::map<std::string, std::string> values;
        EXPECT_EQ(info(area, kArtwork, values), kAFCSuccess);
        EXPECT_EQ(values["st_ifmt"], "S_IFREG");
        for (const std::uint64_t mode : {1U, 2U}) {
            AFCFileRef file = 0;
            ASSERT_EQ(afc().AFCFileRefOpen(area, kArtwork, mode, &file), kAFCSuccess);
            std::string bytes(1U << 20U, '\0');
            std::uint64_t length = bytes.size();
            EXPECT_EQ(afc().AFCFileRefRead(area, file, bytes.data(), &length), kAFCSuccess);
            EXPECT_EQ(std::to_string(length), values["st_size"]);
            EXPECT_EQ(bytes.substr(1, 3), "PNG");
            EXPECT_EQ(afc().AFCFileRefSeek(area, file, 1, 0), kAFCSuccess);
            length = 3;
            EXPECT_EQ(afc().AFCFileRefRead(area, file, bytes.data(), &length), kAFCSuccess);
            EXPECT_EQ(bytes.substr(0, 3), "PNG");
            EXPECT_EQ(afc().AFCFileRefClose(area, file), kAFCSuccess);
        }
    });
    EXPECT_FALSE(std::filesystem::exists(simulator->application(kAtlas) / "iTunesArtwork"));
    EXPECT_EQ(simulator->count("getIconPNGData"), 1) << "asked for once";
}

TEST_F(ApplicationsTest, NoPictureNoArtwork) {
    start({"--devices", "1", "--sample"});
    simulator->control({"install", udidOf(1), "org.example.plain", "--name", "Plain", "--sharing",
                        "--developer", "--no-picture"});
    const AFCConnectionRef area = openApplication(connected(), "org.example.plain");
    ASSERT_NE(area, 0U);
    AFCFileRef file = 0;
    std::map<std::string, std::string> values;
    EXPECT_EQ(info(area, kArtwork, values), kAFCObjectNotFound);
    EXPECT_EQ(afc().AFCFileRefOpen(area, kArtwork, 2, &file), kAFCObjectNotFound);
    EXPECT_FALSE(
        std::filesystem::exists(simulator->application("org.example.plain") / "iTunesArtwork"));
}

TEST_F(ApplicationsTest, WrittenPictureBecomesAFile) {
    start({"--devices", "1", "--sample"});
    simulator->control(
        {"install", udidOf(1), "org.example.plain", "--name", "Plain", "--sharing", "--developer"});
    const AFCConnectionRef area = openApplication(connected(), "org.example.plain");
    ASSERT_NE(area, 0U);
    AFCFileRef file = 0;
    ASSERT_EQ(afc().AFCFileRefOpen(area, kArtwork, 2, &file), kAFCSuccess);
    EXPECT_EQ(afc().AFCFileRefWrite(area, file, "mine", 4), kAFCSuccess);
    EXPECT_EQ(afc().AFCFileRefClose(area, file), kAFCSuccess);
    EXPECT_TRUE(
        std::filesystem::exists(simulator->application("org.example.plain") / "iTunesArtwork"));
}

TEST_F(ApplicationsTest, SessionIsRestartedAsForARootSwitch) {
    start({"--devices", "1", "--sample"});
    AMDeviceRef device = connected();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(afc().AFCConnectionClose(arrivalConnection), kAFCSuccess);
        EXPECT_EQ(am().AMDeviceStopSession(device), 0);
        EXPECT_EQ(am().AMDeviceDisconnect(device), 0);
        arrivalConnection = openService(device, i == 1 ? "com.apple.afc2" : "com.apple.afc");
        EXPECT_NE(arrivalConnection, 0U);
    }
    AFCConnectionRef handle = 0;
    EXPECT_NE(am().AMDeviceStartService(device, "com.apple.nothing", &handle, nullptr), 0);
    EXPECT_EQ(handle, 0U);
}

TEST_F(ApplicationsTest, LockdownThatEndsAnIdleConnectionIsAskedAgain) {
    start({"--devices", "1", "--sample"});
    AMDeviceRef device = connected();
    simulator->control({"drop-connections", udidOf(1), "com.apple.mobile.lockdown"});
    EXPECT_TRUE(am().AMDeviceCopyValue(device, std::nullopt, "DeviceName"));
}

}  // namespace

}  // namespace quillbox::testing
