// SPDX-License-Identifier: GPL-3.0-or-later
// The name space, listings, figures and extended attributes on a real mount.
#include "MountedVolume.h"

#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <thread>

namespace quillbox::test {
namespace {

class NamesOnAVolume : public MountedVolume {
protected:
    void SetUp() override {
        device->put("/a", "A");
        device->put("/b", "B");
        device->putFolder("/folder");
        device->put("/folder/inner", "inside");
        mount();
    }

    std::multiset<std::string> names(const std::string& path) {
        std::multiset<std::string> found;
        DIR* directory = ::opendir(at(path).c_str());
        if (directory == nullptr) {
            return {"error " + std::to_string(errno)};
        }
        while (const dirent* entry = ::readdir(directory)) {
            found.insert(entry->d_name);
        }
        ::closedir(directory);
        return found;
    }

    int listingError(const std::string& path) {
        DIR* directory = ::opendir(at(path).c_str());
        if (directory == nullptr) {
            return errno;
        }
        ::closedir(directory);
        return 0;
    }
};

using Names = std::multiset<std::string>;

TEST_F(NamesOnAVolume, AreListedOnceWithTheDots) {
    EXPECT_EQ(names("/"), (Names{".", "..", "a", "b", "folder"}));
    EXPECT_EQ(names("/folder"), (Names{".", "..", "inner"}));
    EXPECT_EQ(::mkdir(at("/empty").c_str(), 0755), 0);
    EXPECT_EQ(names("/empty"), (Names{".", ".."}));
}

TEST_F(NamesOnAVolume, ImpossibleNamesOfADeviceStayOut) {
    device->addRawNames({"", ".", "..", "x/y", "../../etc/passwd", std::string("a\0b", 3), "good",
                         "good", std::string(2000, 'n'), "odd\nname\x01"});
    EXPECT_EQ(names("/folder"), (Names{".", "..", "inner", "good", "odd\nname\x01"}));
}

TEST_F(NamesOnAVolume, MayHoldAnyOtherByte) {
    const std::vector<std::string> odd = {"\xff\xfe not UTF-8",
                                          "tab\tand\nline",
                                          "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e",
                                          "back\\slash",
                                          "-rf",
                                          "  blanks  ",
                                          std::string(255, 'l')};
    for (const std::string& name : odd) {
        std::ofstream(at("/folder/" + name)) << name;
        EXPECT_EQ(device->content("/folder/" + name), name);
        EXPECT_EQ(contentOf(at("/folder/" + name)), name);
        EXPECT_EQ(names("/folder").count(name), 1U);
    }
    EXPECT_EQ(shell("rm -r " + at("/folder")), 0);
    EXPECT_FALSE(device->has("/folder"));
}

TEST_F(NamesOnAVolume, AreTooLongWhereTheDeviceHasNoneSuch) {
    const std::string name = at("/folder/" + std::string(300, 'l'));
    const std::string other = at("/a");
    struct stat attributes = {};
    const auto expectTooLong = [&] {
        EXPECT_EQ(errnoOf(::lstat(name.c_str(), &attributes)), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::open(name.c_str(), O_RDONLY | O_CLOEXEC)), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::creat(name.c_str(), 0644)), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::mkdir(name.c_str(), 0755)), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::rename(other.c_str(), name.c_str())), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::rename(name.c_str(), other.c_str())), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::link(other.c_str(), name.c_str())), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::symlink("a", name.c_str())), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::unlink(name.c_str())), ENAMETOOLONG);
        EXPECT_EQ(errnoOf(::rmdir(name.c_str())), ENAMETOOLONG);
    };
    expectTooLong();
    EXPECT_EQ(names("/folder"), (Names{".", "..", "inner"}));
    EXPECT_FALSE(exists(at("/nothing")));  // the last absence is known for a moment
    // A device counts otherwise.
    device->put("/folder/" + std::string(300, 'l'), "long");
    EXPECT_EQ(contentOf(name), "long");
    EXPECT_EQ(names("/folder").count(std::string(300, 'l')), 1U);
    EXPECT_EQ(errnoOf(::rename(name.c_str(), at("/short").c_str())), 0);
    EXPECT_EQ(contentOf(at("/short")), "long");
}

TEST_F(NamesOnAVolume, AFailedListingFailsAtOnce) {
    device->failNth(Request::List, 1, kAFCInternalError);
    EXPECT_EQ(listingError("/folder"), EIO);
    device->failNth(Request::List, 1, kAFCPermissionDenied);
    EXPECT_EQ(listingError("/folder"), EACCES);
    // The kernel looks again where a folder that it knew is gone, once.
    device->failNth(Request::List, 1, kAFCObjectNotFound);
    EXPECT_EQ(listingError("/folder"), 0);
    device->putFolder("/empty");
    EXPECT_EQ(listingError("/empty"), 0);
    EXPECT_EQ(device->remove("/empty"), kAFCSuccess);
    EXPECT_EQ(listingError("/empty"), ENOENT);
}

TEST_F(NamesOnAVolume, AListingIsTakenWholeAndAgainByARewind) {
    DIR* directory = ::opendir(at("/").c_str());
    ASSERT_NE(directory, nullptr);
    device->put("/late", "");
    Names first;
    while (const dirent* entry = ::readdir(directory)) {
        first.insert(entry->d_name);
    }
    EXPECT_EQ(first, (Names{".", "..", "a", "b", "folder"}));
    ::rewinddir(directory);
    Names second;
    while (const dirent* entry = ::readdir(directory)) {
        second.insert(entry->d_name);
    }
    EXPECT_EQ(second.count("late"), 1U);
    ::closedir(directory);
}

TEST_F(NamesOnAVolume, HundredThousandEntriesAreListedAndKeptWhileRemoved) {
    device->putFolder("/many");
    device->putManyFiles("/many", 100'000);
    EXPECT_EQ(names("/many").size(), 100'002U);
    DIR* directory = ::opendir(at("/many").c_str());
    ASSERT_NE(directory, nullptr);
    std::set<std::string> seen;
    while (const dirent* entry = ::readdir(directory)) {
        EXPECT_TRUE(seen.insert(entry->d_name).second);
        if (seen.size() % 2000 == 0 && std::string(entry->d_name).starts_with("file")) {
            EXPECT_EQ(::unlink(at("/many/" + std::string(entry->d_name)).c_str()), 0);
        }
        if (seen.size() == 60'000) {
            const long place = ::telldir(directory);
            ::seekdir(directory, place);
        }
    }
    EXPECT_EQ(seen.size(), 100'002U);
    ::closedir(directory);
}

TEST_F(NamesOnAVolume, FoldersAreMadeAndRemoved) {
    EXPECT_EQ(::mkdir(at("/new").c_str(), 0700), 0);
    EXPECT_TRUE(device->has("/new"));
    EXPECT_EQ(errnoOf(::mkdir(at("/new").c_str(), 0700)), EEXIST);
    EXPECT_EQ(::rmdir(at("/new").c_str()), 0);
    EXPECT_FALSE(device->has("/new"));
    // The delegate's own word for a folder with content.
    EXPECT_EQ(errnoOf(::rmdir(at("/folder").c_str())), ENOTSUP);
    EXPECT_EQ(errnoOf(::rmdir(at("/a").c_str())), ENOTDIR);
    EXPECT_EQ(errnoOf(::unlink(at("/folder").c_str())), EISDIR);
    device->failNth(Request::MakeFolder, 1, kAFCNoSpaceLeft);
    EXPECT_EQ(errnoOf(::mkdir(at("/new").c_str(), 0700)), ENOSPC);
}

TEST_F(NamesOnAVolume, AYesToARemovalIsCheckedForWhy) {
    // Looking up the name asks once; then the delegate asks whether the item exists.
    device->failNth(Request::Info, 2, kAFCInternalError);
    EXPECT_EQ(errnoOf(::unlink(at("/a").c_str())), EIO);
    EXPECT_TRUE(device->has("/a"));
    device->failNth(Request::Info, 2, kAFCPermissionDenied);
    EXPECT_EQ(errnoOf(::unlink(at("/a").c_str())), EACCES);
    device->failNth(Request::Info, 2, kAFCObjectNotFound);
    EXPECT_EQ(errnoOf(::unlink(at("/a").c_str())), 0);
    device->failNth(Request::Remove, 1, kAFCPermissionDenied);
    EXPECT_EQ(errnoOf(::unlink(at("/b").c_str())), ENOTSUP);
    EXPECT_EQ(errnoOf(::unlink(at("/b").c_str())), 0);
}

TEST_F(NamesOnAVolume, MissingMeansThatTheDeviceSaidSo) {
    struct stat attributes = {};
    EXPECT_EQ(errnoOf(::lstat(at("/nothing").c_str(), &attributes)), ENOENT);
    const std::vector<std::pair<AFCError, int>> reasons = {
        {kAFCUnknownError, EIO},        {kAFCInvalidArgument, EIO}, {kAFCObjectNotFound, ENOENT},
        {kAFCPermissionDenied, EACCES}, {kAFCTimedOut, ETIMEDOUT},  {kAFCObjectBusy, EBUSY},
        {kAFCConnectionLost, EIO},      {kAFCMultiplexerError, EIO}};
    for (const auto& [status, expected] : reasons) {
        device->failNth(Request::Info, 1, status);
        EXPECT_EQ(errnoOf(::lstat(at("/a").c_str(), &attributes)), expected) << status;
        if (expected == ENOENT) {
            std::this_thread::sleep_for(50ms);  // what was not there just now is not asked again
        }
    }
}

TEST_F(NamesOnAVolume, RenamesReplaceUnlessToldNotTo) {
    EXPECT_EQ(errnoOf(::renameat2(AT_FDCWD, at("/a").c_str(), AT_FDCWD, at("/b").c_str(),
                                  RENAME_NOREPLACE)),
              EEXIST);
    EXPECT_EQ(errnoOf(::renameat2(AT_FDCWD, at("/a").c_str(), AT_FDCWD, at("/b").c_str(),
                                  RENAME_EXCHANGE)),
              EINVAL);
    EXPECT_EQ(device->content("/b"), "B");
    EXPECT_EQ(errnoOf(::renameat2(AT_FDCWD, at("/a").c_str(), AT_FDCWD, at("/c").c_str(),
                                  RENAME_NOREPLACE)),
              0);
    EXPECT_EQ(::rename(at("/c").c_str(), at("/b").c_str()), 0);
    EXPECT_EQ(device->content("/b"), "A");
    EXPECT_EQ(::rename(at("/b").c_str(), at("/folder/b").c_str()), 0);
    EXPECT_EQ(device->content("/folder/b"), "A");
    device->failNth(Request::Rename, 1, kAFCPermissionDenied);
    EXPECT_EQ(errnoOf(::rename(at("/folder/b").c_str(), at("/b").c_str())), EACCES);
    EXPECT_EQ(shell("mv " + at("/folder") + " " + at("/other")), 0);
    EXPECT_EQ(contentOf(at("/other/inner")), "inside");
}

TEST_F(NamesOnAVolume, LinksPointTheRightWay) {
    EXPECT_EQ(shell("ln -s folder/inner " + at("/soft")), 0);
    EXPECT_EQ(device->item("/soft")->content, "folder/inner");
    EXPECT_EQ(output("readlink " + at("/soft")), "folder/inner\n");
    EXPECT_EQ(contentOf(at("/soft")), "inside");
    EXPECT_EQ(shell("ln " + at("/a") + " " + at("/hard")), 0);
    EXPECT_EQ(contentOf(at("/hard")), "A");
    EXPECT_EQ(output("stat -c %h " + at("/a")), "2\n");
    device->failNth(Request::Link, 1, kAFCOperationNotSupported);
    EXPECT_EQ(errnoOf(::link(at("/a").c_str(), at("/hard2").c_str())), ENOTSUP);
}

TEST_F(NamesOnAVolume, AFileKeepsBothNamesWhenOneIsMovedToTheOther) {
    EXPECT_EQ(::link(at("/a").c_str(), at("/hard").c_str()), 0);
    const auto numberOf = [this](const std::string& name) {
        struct stat attributes = {};
        EXPECT_EQ(::lstat(at(name).c_str(), &attributes), 0) << errno;
        return attributes.st_ino;
    };
    const auto number = numberOf("/a");
    EXPECT_EQ(numberOf("/hard"), number);
    EXPECT_EQ(::rename(at("/a").c_str(), at("/hard").c_str()), 0);
    EXPECT_EQ(numberOf("/a"), number);
    EXPECT_EQ(numberOf("/hard"), number);
    EXPECT_EQ(contentOf(at("/a")), "A");
}

TEST_F(NamesOnAVolume, WhatIsBelowARemovedFolderIsGone) {
    EXPECT_EQ(::mkdir(at("/new").c_str(), 0700), 0);
    const int directory = ::open(at("/new").c_str(), O_DIRECTORY | O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::rmdir(at("/new").c_str()), 0);
    struct stat attributes = {};
    EXPECT_EQ(::fstat(directory, &attributes), 0);
    EXPECT_EQ(attributes.st_nlink, 0U);
    EXPECT_EQ(errnoOf(::openat(directory, "x", O_CREAT | O_WRONLY, 0644)), ENOENT);
    ::close(directory);
}

TEST_F(NamesOnAVolume, FiguresAreTheDelegates) {
    struct statvfs figures = {};
    ASSERT_EQ(::statvfs(top.c_str(), &figures), 0);
    EXPECT_EQ(figures.f_blocks * figures.f_frsize, 16'000'000'000U);
    EXPECT_EQ(figures.f_bavail * figures.f_frsize, 4'096'000'000U);
    EXPECT_EQ(figures.f_files, 1024U);
    EXPECT_EQ(output("df -B1 --output=size,avail " + top + " | tail -1"),
              "16000000000 4096000000\n");
    device->failNth(Request::Figures, 1, kAFCConnectionLost);
    EXPECT_EQ(errnoOf(::statvfs(top.c_str(), &figures)), EIO);
}

TEST_F(NamesOnAVolume, ExtendedAttributesAreNotSupported) {
    char value[16] = {};
    EXPECT_EQ(errnoOf(::getxattr(at("/a").c_str(), "user.x", value, sizeof value)), ENOTSUP);
    EXPECT_EQ(errnoOf(::getxattr(at("/a").c_str(), "security.x", value, sizeof value)), ENOTSUP);
    EXPECT_EQ(errnoOf(::listxattr(at("/a").c_str(), value, sizeof value)), ENOTSUP);
    EXPECT_EQ(errnoOf(::removexattr(at("/a").c_str(), "user.x")), ENOTSUP);
    // The delegate's own answer, which keeps nothing.
    EXPECT_EQ(errnoOf(::setxattr(at("/a").c_str(), "user.x", "v", 1, 0)), 0);
    EXPECT_NE(output("getfattr -n user.x " + at("/a") + " 2>&1").find("not supported"),
              std::string::npos);
}

TEST_F(NamesOnAVolume, TheInformationFileIsFoundButNotListed) {
    const std::string path = at("/.xdg-volume-info");
    EXPECT_EQ(contentOf(path), "[Volume Info]\nName=Blue Phone\n");
    EXPECT_EQ(names("/").count(".xdg-volume-info"), 0U);
    EXPECT_FALSE(device->has("/.xdg-volume-info"));
    EXPECT_EQ(errnoOf(::open(path.c_str(), O_WRONLY | O_CLOEXEC)), EACCES);
    EXPECT_EQ(errnoOf(::unlink(path.c_str())), EPERM);
    EXPECT_EQ(errnoOf(::rename(path.c_str(), at("/x").c_str())), EPERM);
    EXPECT_EQ(errnoOf(::truncate(path.c_str(), 0)), EACCES);
    // Only at the top, and only where the device has none.
    EXPECT_FALSE(exists(at("/folder/.xdg-volume-info")));
    device->put("/.xdg-volume-info", "the device's own");
    EXPECT_EQ(contentOf(path), "the device's own");
    EXPECT_EQ(names("/").count(".xdg-volume-info"), 1U);
    EXPECT_EQ(::unlink(path.c_str()), 0);
    EXPECT_EQ(contentOf(path), "[Volume Info]\nName=Blue Phone\n");
    // A failed question is no absence.
    device->failNth(Request::Info, 1,
                    kAFCConnectionLost);  // the kernel looks again at a known name
    device->failNth(Request::Info, 2, kAFCConnectionLost);
    EXPECT_EQ(errnoOf(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), EIO);
}

TEST_F(NamesOnAVolume, TrashFoldersAreAbsentWithoutAQuestion) {
    const int before = delegate->calls();
    EXPECT_FALSE(exists(at("/.Trash")));
    EXPECT_FALSE(exists(at("/.Trash-1000")));
    EXPECT_EQ(delegate->calls(), before);
    EXPECT_EQ(errnoOf(::mkdir(at("/.Trash-1000").c_str(), 0700)), EPERM);
    EXPECT_EQ(errnoOf(::mkdir(at("/.Trash").c_str(), 0700)), EPERM);
    EXPECT_EQ(::mkdir(at("/.Trashy").c_str(), 0700), 0);
    EXPECT_EQ(::mkdir(at("/folder/.Trash").c_str(), 0700), 0);
    // What the device really has is not hidden.
    device->putFolder("/.Trash-7");
    EXPECT_EQ(names("/").count(".Trash-7"), 1U);
    EXPECT_TRUE(exists(at("/.Trash-7")));
}

TEST_F(NamesOnAVolume, TreesGoThereAndBack) {
    const std::string source = folder.path() + "/tree";
    ASSERT_EQ(shell("mkdir -p " + source + "/x/y && cd " + source +
                    " && for i in $(seq 30); do head -c $((i * 1000)) /dev/urandom > x/y/f$i; "
                    "done && ln -s y/f1 x/link && touch -d '2011-01-01 UTC' x/y/f7"),
              0);
    EXPECT_EQ(shell("rsync -a " + source + "/ " + at("/tree")), 0);
    EXPECT_EQ(output("rsync -ai " + source + "/ " + at("/tree") + " | grep -v '^\\.'"), "");
    EXPECT_EQ(shell("rsync -a " + at("/tree/") + " " + folder.path() + "/back"), 0);
    EXPECT_EQ(shell("diff -r " + source + " " + folder.path() + "/back"), 0);
    EXPECT_EQ(shell("tar -C " + top + " -cf " + folder.path() + "/t.tar tree"), 0);
    EXPECT_EQ(shell("rm -r " + at("/tree")), 0);
    EXPECT_FALSE(device->has("/tree"));
    EXPECT_EQ(shell("tar -C " + top + " -xf " + folder.path() + "/t.tar"), 0);
    EXPECT_EQ(shell("diff -r " + source + " " + at("/tree")), 0);
}

}  // namespace
}  // namespace quillbox::test
