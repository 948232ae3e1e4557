// SPDX-License-Identifier: GPL-3.0-or-later
#include "Fakes/World.h"

#include <atomic>
#include <fcntl.h>
#include <thread>

namespace quillbox::fakes {
namespace {

/// Everything that a volume may ask, once through.
void useVolume(PodPhone& phone, std::atomic<int>& successes) {
    std::optional<NSError> error;
    GMUserData record;
    std::array<char, 16> buffer{};
    if (phone.contentsOfDirectoryAtPath("/", &error)) {
        ++successes;
    }
    phone.attributesOfItemAtPath("/a.jpg", nullptr, &error);
    phone.attributesOfFileSystemForPath("/", &error);
    if (phone.openFileAtPath("/a.jpg", O_RDWR, &record, &error)) {
        phone.writeFileAtPath("/a.jpg", record, "hello", 5, 0, &error);
        phone.readFileAtPath("/a.jpg", record, buffer.data(), buffer.size(), 0, &error);
        phone.releaseFileAtPath("/a.jpg", record);
    }
    phone.setAttributes({{"NSFileSize", 1}}, "/a.jpg", nullptr, &error);
    phone.createDirectoryAtPath("/new", {}, &error);
    phone.moveItemAtPath("/new", "/old", &error);
    phone.removeDirectoryAtPath("/old", &error);
    phone.createSymbolicLinkAtPath("/link", "a.jpg", &error);
    phone.destinationOfSymbolicLinkAtPath("/link", &error);
}

class ThreadsTest : public SessionTest {};

TEST_F(ThreadsTest, VolumesAreUsedWhileTheRootIsSwitched) {
    world.log.setLevel(LogLevel::Error);
    world.calls.setRecording(false);
    world.preferences.setObject("changeNameOnCopyImages2DCIM", true);
    world.device.services.insert("com.apple.afc2");
    World::addApplication(world.device, "org.example.notes", "Notes");
    for (const char* tree : {"Root", "Media", "org.example.notes"}) {
        world.afc.addFile(tree, "/a.jpg", "picture");
        world.afc.addDirectory(tree, "/Documents");
        world.afc.addFile(tree, "/Documents/a.jpg", "picture");
    }

    std::atomic<bool> isDone{false};
    std::atomic<int> successes{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!isDone) {
                useVolume(phone, successes);
            }
        });
    }
    for (int round = 0; round < 100; ++round) {
        appMountPathIndex_ = round % 2;
        for (const std::int32_t tag : {10, 100, 5, 11}) {
            phone.setupConnectionForRoot(tag);
            phone.getDeviceFreeSpace();
            phone.uniqueDeviceID();
            phone.getUserAppBundlesArray(false);
            phone.saveConnectionPoint();
            EXPECT_FALSE(phone.currentDirectory().empty());
        }
    }
    while (successes == 0) {
        std::this_thread::yield();
    }
    isDone = true;
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(phone.currentRootTag(), 11);
    EXPECT_EQ(world.afc.openConnections(), 1U);
}

/// What a root switch on another thread does to the connection, at a chosen moment.
void replaceConnection(World& world, PodPhone& phone) {
    world.afc.AFCConnectionClose(phone.myConnection());
    AFCConnectionRef connection = 0;
    world.afc.AFCConnectionOpen(world.afc.startService("Root"), 0, &connection);
    phone.setMyConnection(connection);
}

TEST_F(ThreadsTest, AnOpenFileOfAReplacedConnectionEndsWithAnError) {
    world.afc.addFile("Media", "/a.txt", "media");
    world.afc.addFile("Root", "/a.txt", "root");
    GMUserData record;
    ASSERT_TRUE(phone.openFileAtPath("/a.txt", O_RDWR, &record, &error));
    replaceConnection(world, phone);
    EXPECT_EQ(phone.writeFileAtPath("/a.txt", record, "lost", 4, 0, &error), -2);
    phone.releaseFileAtPath("/a.txt", record);
    EXPECT_EQ(world.afc.content("Root", "/a.txt"), "root");
    EXPECT_EQ(world.afc.content("Media", "/a.txt"), "media");
}

TEST_F(ThreadsTest, AnOperationThatBeganOnOneRootNeverEndsOnAnother) {
    world.afc.addFile("Media", "/a.txt", "media");
    world.afc.addFile("Root", "/a.txt", "root");
    world.afc.runAfterNextAnswer([this] { replaceConnection(world, phone); });
    EXPECT_FALSE(phone.removeItemAtPath("/a.txt", &error));
    EXPECT_TRUE(world.afc.exists("Root", "/a.txt"));
    EXPECT_TRUE(world.afc.exists("Media", "/a.txt"));
}

}  // namespace
}  // namespace quillbox::fakes
