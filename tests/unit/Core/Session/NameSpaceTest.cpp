// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Session/NSError+POSIX.h"
#include "Fakes/World.h"

#include <cerrno>

namespace quillbox::fakes {
namespace {

class NameSpaceTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        world.afc.addDirectory("Media", "/DCIM");
        world.afc.addDirectory("Media", "/DCIM/100APPLE");
        world.afc.addFile("Media", "/DCIM/100APPLE/a.jpg", "picture");
        world.calls.take();
    }

    bool exists(const std::string& path) { return world.afc.exists("Media", path); }
};

TEST(PosixErrorTest, AnErrorHoldsTheNumberAndNothingMore) {
    EXPECT_EQ(NSErrorPOSIX::errorWithPOSIXCode(ENOENT),
              NSError::errorWithDomain(NSPOSIXErrorDomain, ENOENT));
    EXPECT_EQ(NSErrorPOSIX::errorWithPOSIXCode(-7).code, -7);
}

TEST_F(NameSpaceTest, MovingRenamesWithOneRequest) {
    EXPECT_TRUE(phone.moveItemAtPath("/DCIM/100APPLE/a.jpg", "/b.jpg", &error));
    EXPECT_TRUE(exists("/b.jpg"));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCRenamePath /DCIM/100APPLE/a.jpg /b.jpg"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"moveItemAtPath:toPath:error: /DCIM/100APPLE/a.jpg destination=/b.jpg"}));
}

TEST_F(NameSpaceTest, AFailedMoveSetsNoErrorAndLogsNone) {
    EXPECT_FALSE(phone.moveItemAtPath("/none", "/b", &error));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(world.log.take().size(), 1U);
}

TEST_F(NameSpaceTest, MovingWithinAnApplicationMapsBothPaths) {
    switchToApplication(true);
    world.afc.addFile("org.example.notes", "/Documents/a", "x");
    EXPECT_TRUE(phone.moveItemAtPath("/a", "/b", &error));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCRenamePath /Documents/a /Documents/b"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"moveItemAtPath:toPath:error: /Documents/a destination=/Documents/b"}));
}

TEST_F(NameSpaceTest, MakingADirectoryIsOneRequest) {
    EXPECT_TRUE(phone.createDirectoryAtPath("/new", {}, &error));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCDirectoryCreate /new"}));
    EXPECT_EQ(world.log.take(), (Texts{"createDirectoryAtPath:attributes:error::/new"}));
    world.calls.fail("AFCDirectoryCreate", 10);
    EXPECT_FALSE(phone.createDirectoryAtPath("/other", {}, &error));
    EXPECT_EQ(error, std::nullopt);
    switchToApplication(true);
    EXPECT_TRUE(phone.createDirectoryAtPath("/new", {}, &error));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCDirectoryCreate /Documents/new"}));
}

struct Removal {
    const char* selector;
    bool (PodPhone::*remove)(const std::string&, GMErrorOut);
};

class RemovingTest : public NameSpaceTest, public ::testing::WithParamInterface<Removal> {
protected:
    bool remove(const std::string& path) { return (phone.*GetParam().remove)(path, &error); }

    std::string selector() { return GetParam().selector; }
};

TEST_P(RemovingTest, AnItemIsAskedForAndRemoved) {
    EXPECT_TRUE(remove("/DCIM/100APPLE/a.jpg"));
    EXPECT_FALSE(exists("/DCIM/100APPLE/a.jpg"));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileInfoOpen /DCIM/100APPLE/a.jpg", "AFCKeyValueClose",
                                         "AFCRemovePath /DCIM/100APPLE/a.jpg"}));
    EXPECT_EQ(world.log.take(), (Texts{selector() + "/DCIM/100APPLE/a.jpg"}));
}

TEST_P(RemovingTest, AMissingItemCountsAsRemovedAndIsLogged) {
    EXPECT_TRUE(remove("/none"));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(world.calls.take(), (Texts{"AFCFileInfoOpen /none"}));
    EXPECT_EQ(world.log.take(), (Texts{selector() + "/none", "Error: " + selector() + " /none"}));
}

TEST_P(RemovingTest, ADirectoryWithContentsIsRefusedAsNotSupported) {
    EXPECT_FALSE(remove("/DCIM"));
    EXPECT_EQ(codeOf(error), ENOTSUP);
    EXPECT_TRUE(exists("/DCIM/100APPLE/a.jpg"));
}

TEST_P(RemovingTest, TheFirstLineTellsTheVolumePathAndTheErrorLineTheDevicePath) {
    switchToApplication(true);
    EXPECT_TRUE(remove("/none"));
    EXPECT_EQ(world.log.take(),
              (Texts{selector() + "/none", "Error: " + selector() + " /Documents/none"}));
}

INSTANTIATE_TEST_SUITE_P(
    Both, RemovingTest,
    ::testing::Values(Removal{"removeItemAtPath:error:", &PodPhone::removeItemAtPath},
                      Removal{"removeDirectoryAtPath:error:", &PodPhone::removeDirectoryAtPath}),
    [](const auto& each) {
        return std::string(each.param.selector)
            .substr(0, std::string(each.param.selector).find(':'));
    });

TEST_F(NameSpaceTest, AHardLinkKeepsTheOrderOfItsPathsAndAlwaysSetsTheError) {
    EXPECT_TRUE(phone.linkItemAtPath("/DCIM/100APPLE/a.jpg", "/b.jpg", &error));
    EXPECT_EQ(codeOf(error), ENOTSUP);
    EXPECT_EQ(world.calls.take(), (Texts{"AFCLinkPath 1 /DCIM/100APPLE/a.jpg /b.jpg"}));
    EXPECT_EQ(world.log.take(),
              (Texts{"linkItemAtPath:toPath:error:/DCIM/100APPLE/a.jpg\n/b.jpg"}));
}

TEST_F(NameSpaceTest, ASymbolicLinkKeepsTheOrderOfItsPathsAndLogsNothing) {
    EXPECT_TRUE(phone.createSymbolicLinkAtPath("/link", "DCIM", &error));
    EXPECT_EQ(codeOf(error), ENOTSUP);
    EXPECT_EQ(world.calls.take(), (Texts{"AFCLinkPath 2 /link DCIM"}));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(NameSpaceTest, FailedLinksAreNotSupported) {
    world.calls.failAlways("AFCLinkPath", 15);
    EXPECT_FALSE(phone.linkItemAtPath("/a", "/b", &error));
    EXPECT_EQ(codeOf(error), ENOTSUP);
    error.reset();
    EXPECT_FALSE(phone.createSymbolicLinkAtPath("/a", "/b", &error));
    EXPECT_EQ(codeOf(error), ENOTSUP);
}

TEST_F(NameSpaceTest, ALinkWithoutOneOfItsPathsFailsWithoutARequest) {
    for (const auto& [path, other] :
         std::vector<std::pair<std::optional<std::string>, std::optional<std::string>>>{
             {std::nullopt, "/b"}, {"/a", std::nullopt}, {std::nullopt, std::nullopt}}) {
        error.reset();
        EXPECT_FALSE(phone.linkItemAtPath(path, other, &error));
        EXPECT_EQ(codeOf(error), ENOTSUP);
        error.reset();
        EXPECT_FALSE(phone.createSymbolicLinkAtPath(path, other, &error));
        EXPECT_EQ(codeOf(error), ENOTSUP);
    }
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(NameSpaceTest, LinksOfAnApplicationAreMadeFromTheTopOfItsArea) {
    switchToApplication(true);
    EXPECT_TRUE(phone.createSymbolicLinkAtPath("/link", "target", &error));
    EXPECT_TRUE(world.afc.exists("org.example.notes", "/link"));
    EXPECT_EQ(phone.destinationOfSymbolicLinkAtPath("/link", &error), "target");
    phone.linkItemAtPath("/a", "/b", &error);
    EXPECT_EQ(world.calls.take().back(), "AFCLinkPath 1 /a /b");
}

TEST_F(NameSpaceTest, TheTargetOfALinkIsReadFromItsInformation) {
    phone.createSymbolicLinkAtPath("/link", "DCIM/100APPLE", nullptr);
    world.log.take();
    EXPECT_EQ(phone.destinationOfSymbolicLinkAtPath("/link", &error), "DCIM/100APPLE");
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(NameSpaceTest, WhatIsNoLinkHasNoTargetAndNoError) {
    EXPECT_EQ(phone.destinationOfSymbolicLinkAtPath("/DCIM/100APPLE/a.jpg", &error), std::nullopt);
    EXPECT_EQ(phone.destinationOfSymbolicLinkAtPath("/none", &error), std::nullopt);
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(NameSpaceTest, ExtendedAttributesAreNotSupported) {
    EXPECT_EQ(phone.valueOfExtendedAttribute("user.x", "/DCIM", 0, &error), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOTSUP);
    error.reset();
    EXPECT_EQ(phone.extendedAttributesOfItemAtPath("/DCIM", &error), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOTSUP);
    EXPECT_EQ(world.calls.take(), Texts{});
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(NameSpaceTest, AnExtendedAttributeAtTheStartIsAcceptedAndDropped) {
    EXPECT_TRUE(phone.setExtendedAttribute("user.x", "/DCIM", {1}, 0, 0, &error));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(phone.valueOfExtendedAttribute("user.x", "/DCIM", 0, &error), std::nullopt);
    EXPECT_EQ(codeOf(error), ENOTSUP);
    error.reset();
    EXPECT_FALSE(phone.setExtendedAttribute("user.x", "/DCIM", {1}, 1, 0, &error));
    EXPECT_EQ(codeOf(error), ENOTSUP);
}

TEST_F(NameSpaceTest, FinderAndResourceAttributesAreTheLibrarysOwn) {
    EXPECT_EQ(phone.finderAttributesAtPath("/DCIM", &error), std::nullopt);
    EXPECT_EQ(phone.resourceAttributesAtPath("/DCIM", &error), std::nullopt);
    EXPECT_EQ(error, std::nullopt);
}

TEST_F(NameSpaceTest, RenamingAFolderReplacesItsLastComponent) {
    EXPECT_TRUE(phone.renameFolder("/DCIM/100APPLE", "101APPLE"));
    EXPECT_TRUE(exists("/DCIM/101APPLE/a.jpg"));
    EXPECT_TRUE(phone.renameFolder("/DCIM/101APPLE/a.jpg", "b.jpg"));
    EXPECT_TRUE(exists("/DCIM/101APPLE/b.jpg"));
    EXPECT_TRUE(phone.renameFolder("/DCIM", "X"));
    EXPECT_EQ(world.calls.take().back(), "AFCRenamePath /DCIM /X");
    EXPECT_FALSE(phone.renameFolder("/none", "X"));
}

TEST_F(NameSpaceTest, RemovingAPathIsOneRequestWithoutMapping) {
    EXPECT_TRUE(phone.removePath("/DCIM/100APPLE/a.jpg"));
    EXPECT_EQ(world.calls.take(), (Texts{"AFCRemovePath /DCIM/100APPLE/a.jpg"}));
    EXPECT_FALSE(phone.removePath("/none"));
    switchToApplication(true);
    EXPECT_TRUE(phone.removePath("/Documents"));
}

}  // namespace
}  // namespace quillbox::fakes
