// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Settings/CachedFlags.h"
#include "RealProgram.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace quillbox::test {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool holds(const Texts& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

TEST(RootMenuOnRealParts, EveryRootIsMountedUnderItsNameAndShowsItsFiles) {
    const SimulatedPhones phones{{"--devices", "1", "--sample"}};
    RealProgram program(phones);
    program.play([&] {
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Root)"));
        EXPECT_TRUE(holds(program.list("Blue Phone (Root)"), "private"));

        ASSERT_TRUE(program.choose("Media"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Media)"));
        EXPECT_TRUE(holds(program.list("Blue Phone (Media)"), "DCIM"));
        EXPECT_EQ(program.information("Blue Phone (Media)", "Name"), "Blue Phone (Media)");

        ASSERT_TRUE(program.choose("Sketches"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Sketches)"));
        EXPECT_TRUE(holds(program.list("Blue Phone (Sketches)"), "Documents"));
        EXPECT_TRUE(
            fs::exists(program.volumes() + "/Blue Phone (Sketches)/Documents/First sketch.png"));

        ASSERT_TRUE(program.choose("Root"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Root)"));
        EXPECT_TRUE(holds(program.list("Blue Phone (Root)"), "private"));
        // Nothing is left of the volumes before.
        EXPECT_EQ(std::distance(fs::directory_iterator(program.volumes()), {}), 1);
    });
}

TEST(RootMenuOnRealParts, WithTheDocumentsMappingAnApplicationsVolumeIsItsDocuments) {
    const SimulatedPhones phones{{"--devices", "1", "--sample", "--no-afc2"}};
    RealProgram program(phones);
    appMountPathIndex_ = 1;
    program.play([&] {
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Media)"));
        ASSERT_TRUE(program.choose("Sketches"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Sketches)"));
        EXPECT_EQ(program.list("Blue Phone (Sketches)"), (Texts{"First sketch.png"}));
    });
}

TEST(RootMenuOnRealParts, ATakenNameGetsANumber) {
    const SimulatedPhones phones{{"--devices", "1", "--sample"}};
    fs::create_directories(phones.folder() + "/Volumes/Blue Phone (Media)/mine");
    RealProgram program(phones);
    program.play([&] {
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Root)"));
        ASSERT_TRUE(program.choose("Media"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Media) 2"));
        EXPECT_TRUE(holds(program.list("Blue Phone (Media) 2"), "DCIM"));
    });
    EXPECT_TRUE(fs::exists(phones.folder() + "/Volumes/Blue Phone (Media)/mine"));
}

TEST(RootMenuOnRealParts, VolumesCarryTheProgramsIconOrTheApplicationsPicture) {
    const SimulatedPhones phones{{"--devices", "1", "--sample", "--no-afc2"}};
    RealProgram program(phones);
    program.play([&] {
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Media)"));
        const fs::path own = program.information("Blue Phone (Media)", "IconFile");
        EXPECT_EQ(own.filename(), "QuillboxIcon.icns");
        EXPECT_EQ(contentOf(own).substr(0, 4), "icns");

        ASSERT_TRUE(program.choose("Ledger"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Ledger)"));
        const fs::path icon = program.information("Blue Phone (Ledger)", "IconFile");
        EXPECT_EQ(icon.filename(), "iTunesArtwork.icns");
        const std::string data = contentOf(icon);
        ASSERT_GT(data.size(), 24U);
        EXPECT_EQ(data.substr(0, 4), "icns");
        EXPECT_EQ(data.substr(8, 4), "ic09");
        EXPECT_EQ(data.substr(16, 4), "\x89PNG");
        const auto item = program.root("Ledger");
        EXPECT_EQ(program.platform().images.size(*item->image()), (Size{16, 16}));
        EXPECT_EQ(program.platform().images.size(*program.root("Media")->image()), (Size{16, 16}));
    });
}

TEST(RootMenuOnRealParts, EachDeviceComesBackOnItsRootAtTheNextArrivalAndTheNextStart) {
    const SimulatedPhones phones{{"--devices", "2", "--sample"}};
    {
        RealProgram program(phones);
        program.play([&] {
            ASSERT_TRUE(program.isMountedInTime("Blue Phone (Root)"));
            ASSERT_TRUE(program.isMountedInTime("Red Phone (Root)"));
            ASSERT_TRUE(program.choose("Ledger", "Blue Phone"));
            ASSERT_TRUE(program.choose("Sketches", "Red Phone"));
            ASSERT_TRUE(program.isMountedInTime("Blue Phone (Ledger)"));
            ASSERT_TRUE(program.isMountedInTime("Red Phone (Sketches)"));
            for (const auto& identifier : phones.identifiers()) {
                phones.control({"detach", identifier});
            }
            ASSERT_TRUE(program.isAloneInTime());
            for (const auto& identifier : phones.identifiers()) {
                phones.control({"attach", identifier});
            }
            EXPECT_TRUE(program.isMountedInTime("Blue Phone (Ledger)"));
            EXPECT_TRUE(program.isMountedInTime("Red Phone (Sketches)"));
            EXPECT_TRUE(program.root("Ledger", "Blue Phone")->state());
            EXPECT_FALSE(program.root("Root", "Blue Phone")->state());
        });
    }
    RealProgram again(phones);
    again.play([&] {
        EXPECT_TRUE(again.isMountedInTime("Blue Phone (Ledger)"));
        EXPECT_TRUE(again.isMountedInTime("Red Phone (Sketches)"));
        EXPECT_TRUE(holds(again.list("Red Phone (Sketches)"), "iTunesArtwork"));
    });
}

TEST(RootMenuOnRealParts, ADeviceThatRefusesContainersShowsTheApplicationsDocuments) {
    const SimulatedPhones phones{
        {"--devices", "1", "--sample", "--no-afc2", "--refuse-containers"}};
    RealProgram program(phones);
    program.play([&] {
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Media)"));
        ASSERT_TRUE(program.choose("Sketches"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Sketches)"));
        EXPECT_EQ(program.list("Blue Phone (Sketches)"), (Texts{"Documents"}));
        EXPECT_TRUE(
            fs::exists(program.volumes() + "/Blue Phone (Sketches)/Documents/First sketch.png"));
    });
}

TEST(RootMenuOnRealParts, ARootThatCannotBeOpenedIsToldAndAnotherOneCanBeChosen) {
    const SimulatedPhones phones{{"--devices", "1", "--sample", "--no-afc2"}};
    RealProgram program(phones);
    program.play([&] {
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Media)"));
        phones.control({"uninstall", phones.identifiers().front(), "org.example.sketches"});
        ASSERT_TRUE(program.choose("Sketches"));
        EXPECT_NE(program.log().lineThatBegins("\"Sketches\" of Blue Phone could not be opened"),
                  "");
        EXPECT_TRUE(program.root("Media")->state());
        EXPECT_EQ(program.list("Blue Phone (Media)"), Texts{});
        ASSERT_TRUE(program.choose("Ledger"));
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Ledger)"));
        EXPECT_TRUE(holds(program.list("Blue Phone (Ledger)"), "Library"));
    });
}

TEST(RootMenuOnRealParts, PicturesThatAreLoadedFirstComeFromTheHomeScreenWhereTheAreaHasNone) {
    const SimulatedPhones phones{{"--devices", "1", "--no-afc2", "--detached"}};
    const auto& phone = phones.identifiers().front();
    for (const std::string text : {"Atlas", "Books", "Charts"}) {
        phones.control({"install", phone, "org.example." + text, "--name", text});
    }
    phones.control({"install", phone, "org.example.drafts", "--name", "Drafts", "--no-picture"});
    RealProgram program(phones);
    isLoadAppsIconBeforeStart_ = true;
    phones.control({"attach", phone});
    program.play([&] {
        ASSERT_TRUE(program.isMountedInTime("Blue Phone (Media)"));
        for (const char* title : {"Atlas", "Books", "Charts"}) {
            const auto item = program.root(title);
            ASSERT_TRUE(item) << title;
            EXPECT_TRUE(item->image()->resourceName.empty()) << title;
            EXPECT_EQ(program.platform().images.size(*item->image()), (Size{16, 16})) << title;
        }
        EXPECT_EQ(program.root("Drafts")->image()->resourceName, "AppStore");
        const auto line =
            program.log().lineThatBegins("Reading the pictures of 4 applications took ");
        EXPECT_TRUE(line.ends_with(" ms: 3 found.")) << line;
    });
}

}  // namespace
}  // namespace quillbox::test
