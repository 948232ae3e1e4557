// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/PathTree/PodPath.h"
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

/// An item that is told what to answer, and counts how often it is asked anew.
class FakeItem final : public PodItem {
public:
    FakeItem(std::string fullPath, std::string name, bool isDirectory)
        : fullPath_(std::move(fullPath)), name_(std::move(name)), isDirectory_(isDirectory) {}

    std::string fullPath() override { return fullPath_; }

    std::string relativePath() override { return name_; }

    bool isDirectory() override { return isDirectory_; }

    std::int64_t getFileSize() override { return 1234; }

    std::optional<PropertyDate> nodeObjModDate() override {
        return PropertyDate(std::chrono::seconds(99));
    }

    void refreshChildren() override { ++refreshes; }

    std::vector<std::shared_ptr<PodItem>> children() override { return items; }

    std::vector<std::shared_ptr<PodItem>> items;
    int refreshes = 0;

private:
    std::string fullPath_;
    std::string name_;
    bool isDirectory_;
};

class PodPathTest : public ::testing::Test {
protected:
    PodPathTest() {
        addFolder("/home/x", {"music", "notes.txt", "link"});
        addFolder("/home/x/music", {"song"});
        addItem("/home/x/notes.txt", "NSFileTypeRegular", 42);
        addItem("/home/x/link", "NSFileTypeSymbolicLink", 5);
        addItem("/home/x/music/song", "NSFileTypeRegular", 7);
    }

    void addItem(const std::string& path, const std::string& type, std::uint64_t size) {
        world.fileManager.attributes[path] = {
            {"NSFileType", type},
            {"NSFileSize", size},
            {"NSFileModificationDate", PropertyDate(std::chrono::seconds(1000))}};
    }

    void addFolder(const std::string& path, const Texts& names) {
        addItem(path, "NSFileTypeDirectory", 4096);
        world.fileManager.contents[path] = names;
    }

    static Texts names(PodPath& node) {
        Texts all;
        for (const auto& child : node.children()) {
            all.push_back(child->name());
        }
        return all;
    }

    World world;
    PathTreePlatform platform{world.fileManager, world.log};
    std::shared_ptr<PodPath> host = PodPath::initAsIPodRoot(platform, "/home/x");
    std::shared_ptr<FakeItem> item = std::make_shared<FakeItem>("/", "", true);
};

TEST_F(PodPathTest, AFreshNodeHasReadNothing) {
    EXPECT_EQ(world.calls.take(), Texts{});
    EXPECT_EQ(host->name(), "/home/x");
    EXPECT_EQ(host->fullPath(), "/home/x");
    EXPECT_EQ(host->parent(), nullptr);
    EXPECT_EQ(host->iPhoneItem(), nullptr);
}

TEST_F(PodPathTest, TheChildrenAreListedOnceInTheDisksOrder) {
    EXPECT_EQ(names(*host), (Texts{"music", "notes.txt", "link"}));
    EXPECT_EQ(names(*host), (Texts{"music", "notes.txt", "link"}));
    EXPECT_EQ(world.calls.take(),
              (Texts{"attributesOfItemAtPath /home/x", "contentsOfDirectoryAtPath /home/x"}));
}

TEST_F(PodPathTest, PathsAreJoinedFromTheRootDown) {
    const auto music = host->children().at(0);
    const auto song = music->children().at(0);
    EXPECT_EQ(music->fullPath(), "/home/x/music");
    EXPECT_EQ(song->fullPath(), "/home/x/music/song");
    EXPECT_EQ(song->parent(), music.get());
    EXPECT_EQ(music->parent(), host.get());
    EXPECT_EQ(song->root(), "/home/x");
    EXPECT_EQ(song->iTunesRoot(), "/home/x/iTunes_Control");
}

TEST_F(PodPathTest, TheTopOfTheDiskKeepsItsSlash) {
    const auto top = PodPath::initAsIPodRoot(platform, "/");
    EXPECT_EQ(PodPath::initAsIPodChild(*top, "etc")->fullPath(), "//etc");
}

TEST_F(PodPathTest, DirectoriesAndSymbolicLinksCountAsDirectories) {
    const auto& children = host->children();
    EXPECT_TRUE(children.at(0)->isDirectory());
    EXPECT_FALSE(children.at(1)->isDirectory());
    EXPECT_TRUE(children.at(2)->isDirectory());
}

TEST_F(PodPathTest, WhetherItIsADirectoryIsReadOnce) {
    EXPECT_TRUE(host->isDirectory());
    world.fileManager.attributes.clear();
    EXPECT_TRUE(host->isDirectory());
    EXPECT_EQ(world.calls.count("attributesOfItemAtPath"), 1U);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(PodPathTest, AnItemThatCannotBeReadIsNoDirectoryAndLoggedOnce) {
    const auto missing = PodPath::initAsIPodChild(*host, "missing");
    EXPECT_FALSE(missing->isDirectory());
    EXPECT_FALSE(missing->isDirectory());
    EXPECT_EQ(world.log.take(),
              (Texts{"ERROR getting info for item: /home/x/missing;  error: Error "
                     "Domain=NSPOSIXErrorDomain Code=2\n"}));
}

TEST_F(PodPathTest, SizeAndDateAreReadAtEachCall) {
    const auto notes = host->children().at(1);
    EXPECT_EQ(notes->fileSize(), 42);
    EXPECT_EQ(notes->modDate(), PropertyDate(std::chrono::seconds(1000)));
    addItem("/home/x/notes.txt", "NSFileTypeRegular", 43);
    EXPECT_EQ(notes->fileSize(), 43);
}

TEST_F(PodPathTest, SizeAndDateThatCannotBeReadAreLogged) {
    const auto missing = PodPath::initAsIPodChild(*host, "missing");
    EXPECT_EQ(missing->fileSize(), 0);
    EXPECT_EQ(missing->modDate(), std::nullopt);
    EXPECT_EQ(world.log.take(),
              Texts(2, "ERROR getting info for item: /home/x/missing;  error: Error "
                       "Domain=NSPOSIXErrorDomain Code=2\n"));
}

TEST_F(PodPathTest, RefreshingListsAnew) {
    const auto before = host->children().at(0);
    world.fileManager.contents["/home/x"] = {"other"};
    host->refreshChildren();
    EXPECT_EQ(names(*host), (Texts{"other"}));
    EXPECT_EQ(before->name(), "music");
}

TEST_F(PodPathTest, WhatIsNoDirectoryHasNoChildrenAndIsNotListed) {
    const auto notes = host->children().at(1);
    world.calls.take();
    EXPECT_TRUE(notes->children().empty());
    EXPECT_EQ(world.calls.count("contentsOfDirectoryAtPath"), 0U);
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(PodPathTest, AFolderThatCannotBeListedIsLoggedAndEmpty) {
    EXPECT_EQ(host->children().size(), 3U);
    world.fileManager.contents.clear();
    host->refreshChildren();
    EXPECT_TRUE(host->children().empty());
    EXPECT_EQ(world.log.take(),
              (Texts{"ERROR getting directory info for path: /home/x;  error=Error "
                     "Domain=NSPOSIXErrorDomain Code=2\n"}));
}

TEST_F(PodPathTest, ADeviceNodeAsksItsItem) {
    const auto root = PodPath::initAsIPhoneRoot(platform, item);
    EXPECT_EQ(root->iPhoneItem(), item);
    EXPECT_EQ(root->fullPath(), "/");
    EXPECT_TRUE(root->isDirectory());
    EXPECT_EQ(root->fileSize(), 1234);
    EXPECT_EQ(root->modDate(), PropertyDate(std::chrono::seconds(99)));
    EXPECT_EQ(root->iTunesRoot(), "/iTunes_Control");
    EXPECT_EQ(root->root(), "/");
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(PodPathTest, ADeviceNodesChildrenAreItsItemsChildren) {
    item->items = {std::make_shared<FakeItem>("/DCIM", "DCIM", true),
                   std::make_shared<FakeItem>("/a.txt", "a.txt", false)};
    const auto root = PodPath::initAsIPhoneRoot(platform, item);
    EXPECT_EQ(names(*root), (Texts{"DCIM", "a.txt"}));
    EXPECT_EQ(names(*root), (Texts{"DCIM", "a.txt"}));
    EXPECT_EQ(item->refreshes, 1);
    EXPECT_EQ(root->children().at(0)->fullPath(), "/DCIM");
    EXPECT_EQ(root->children().at(0)->root(), "/");
    item->items.pop_back();
    root->refreshChildren();
    EXPECT_EQ(names(*root), (Texts{"DCIM"}));
    EXPECT_EQ(item->refreshes, 2);
    EXPECT_EQ(world.calls.take(), Texts{});
}

TEST_F(PodPathTest, ADeviceFileIsNotAskedForChildren) {
    const auto file = std::make_shared<FakeItem>("/a.txt", "a.txt", false);
    const auto node = PodPath::initAsIPhoneRoot(platform, file);
    EXPECT_TRUE(node->children().empty());
    EXPECT_EQ(file->refreshes, 0);
}

}  // namespace
}  // namespace quillbox::fakes
