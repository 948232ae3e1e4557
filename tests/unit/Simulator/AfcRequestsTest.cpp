// SPDX-License-Identifier: GPL-3.0-or-later
#include "AfcRequests.h"
#include "TemporaryFolder.h"
#include "Wire/AfcLists.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

namespace quillbox::simulator {
namespace {

using wire::AfcOperation;
using wire::AfcParameters;
using wire::AfcStatus;

class AfcRequestsTest : public testing::Test {
protected:
    AfcRequestsTest()
        : device_{description(folder_.path())},
          requests_{AfcArea{folder_.path(), {}, {}}, device_} {}

    static DeviceDescription description(const std::filesystem::path& folder) {
        DeviceDescription description;
        description.udid = "u";
        description.totalBytes = 1000;
        description.folder = folder;
        return description;
    }

    AfcAnswer ask(AfcOperation operation, const AfcParameters& parameters,
                  std::string_view data = {}) {
        return requests_.answer(operation, parameters.bytes(), wire::asBytes(data));
    }

    static AfcStatus statusOf(const AfcAnswer& answer) {
        EXPECT_EQ(answer.operation, AfcOperation::Status);
        return static_cast<AfcStatus>(wire::loadLittle<std::uint64_t>(answer.parameters));
    }

    std::uint64_t open(wire::AfcOpenMode mode, const std::string& path) {
        const AfcAnswer answer =
            ask(AfcOperation::FileOpen,
                AfcParameters{}.word(static_cast<std::uint64_t>(mode)).path(path));
        EXPECT_EQ(answer.operation, AfcOperation::FileOpenResult);
        return wire::loadLittle<std::uint64_t>(answer.parameters);
    }

    AfcStatus write(std::uint64_t handle, std::string_view text) {
        return statusOf(ask(AfcOperation::FileWrite, AfcParameters{}.word(handle), text));
    }

    std::string read(std::uint64_t handle, std::uint64_t length) {
        const AfcAnswer answer =
            ask(AfcOperation::FileRead, AfcParameters{}.word(handle).word(length));
        EXPECT_EQ(answer.operation, AfcOperation::Data);
        return std::string{wire::asText(answer.data)};
    }

    AfcStatus seek(std::uint64_t handle, std::uint64_t whence, std::int64_t offset) {
        return statusOf(ask(AfcOperation::FileSeek, AfcParameters{}.word(handle).word(whence).word(
                                                        static_cast<std::uint64_t>(offset))));
    }

    std::uint64_t tell(std::uint64_t handle) {
        const AfcAnswer answer = ask(AfcOperation::FileTell, AfcParameters{}.word(handle));
        EXPECT_EQ(answer.operation, AfcOperation::FileTellResult);
        return wire::loadLittle<std::uint64_t>(answer.parameters);
    }

    TemporaryFolder folder_;
    Device device_;
    AfcRequests requests_;
};

TEST_F(AfcRequestsTest, WritesSeeksTellsAndReads) {
    const auto handle = open(wire::AfcOpenMode::ReadTruncate, "/file");
    EXPECT_EQ(write(handle, "hello world"), AfcStatus::Success);
    EXPECT_EQ(tell(handle), 11U);
    EXPECT_EQ(seek(handle, 0, 6), AfcStatus::Success);
    EXPECT_EQ(read(handle, 100), "world");
    EXPECT_EQ(read(handle, 100), "") << "past the end there is an empty answer, no failure";
    EXPECT_EQ(seek(handle, 2, -5), AfcStatus::Success);
    EXPECT_EQ(read(handle, 3), "wor");
    EXPECT_EQ(seek(handle, 1, -1), AfcStatus::Success);
    EXPECT_EQ(tell(handle), 8U);
    EXPECT_EQ(seek(handle, 0, -1), AfcStatus::InvalidArgument);
    EXPECT_EQ(seek(handle, 3, 0), AfcStatus::InvalidArgument);
    EXPECT_EQ(statusOf(ask(AfcOperation::FileSetSize, AfcParameters{}.word(handle).word(5))),
              AfcStatus::Success);
    EXPECT_EQ(std::filesystem::file_size(folder_.path() / "file"), 5U);
    EXPECT_EQ(statusOf(ask(AfcOperation::FileClose, AfcParameters{}.word(handle))),
              AfcStatus::Success);
    EXPECT_EQ(write(handle, "late"), AfcStatus::InvalidArgument);
}

TEST_F(AfcRequestsTest, AppendingWritesAtTheEndWhereverThePositionIs) {
    write(open(wire::AfcOpenMode::WriteTruncate, "/file"), "begin");
    const auto handle = open(wire::AfcOpenMode::ReadAppend, "/file");
    EXPECT_EQ(read(handle, 2), "be");
    EXPECT_EQ(write(handle, "-end"), AfcStatus::Success);
    EXPECT_EQ(seek(handle, 0, 0), AfcStatus::Success);
    EXPECT_EQ(read(handle, 100), "begin-end");
}

TEST_F(AfcRequestsTest, HandlesRefuseWhatTheirModeDoesNotAllow) {
    write(open(wire::AfcOpenMode::WriteTruncate, "/file"), "x");
    EXPECT_EQ(write(open(wire::AfcOpenMode::Read, "/file"), "y"), AfcStatus::PermissionDenied);
    const auto writer = open(wire::AfcOpenMode::WriteTruncate, "/file");
    EXPECT_EQ(statusOf(ask(AfcOperation::FileRead, AfcParameters{}.word(writer).word(1))),
              AfcStatus::PermissionDenied);
}

TEST_F(AfcRequestsTest, LocksExcludeEachOther) {
    const auto first = open(wire::AfcOpenMode::ReadTruncate, "/file");
    const auto second = open(wire::AfcOpenMode::Read, "/file");
    const auto lock = [&](std::uint64_t handle, wire::AfcLock operation) {
        return statusOf(ask(AfcOperation::FileLock, AfcParameters{}.word(handle).word(
                                                        static_cast<std::uint64_t>(operation))));
    };
    EXPECT_EQ(lock(first, wire::AfcLock::Exclusive), AfcStatus::Success);
    EXPECT_EQ(lock(second, wire::AfcLock::Shared), AfcStatus::WouldBlock);
    EXPECT_EQ(lock(first, wire::AfcLock::Unlock), AfcStatus::Success);
    EXPECT_EQ(lock(second, wire::AfcLock::Shared), AfcStatus::Success);
    EXPECT_EQ(lock(second, static_cast<wire::AfcLock>(1)), AfcStatus::InvalidArgument);
}

TEST_F(AfcRequestsTest, DeviceInfoHasFourKeys) {
    device_.setFreeBytes(400);
    const auto keys = wire::splitKeyValues(ask(AfcOperation::DeviceInfo, {}).data);
    ASSERT_TRUE(keys);
    const std::map<std::string, std::string> map{keys->begin(), keys->end()};
    EXPECT_EQ(map.at("FSTotalBytes"), "1000");
    EXPECT_EQ(map.at("FSFreeBytes"), "400");
    EXPECT_EQ(map.at("FSBlockSize"), "4096");
    EXPECT_EQ(map.at("Model"), "iPhone14,5");
}

TEST_F(AfcRequestsTest, PathsTakeTheirParametersInWireOrder) {
    write(open(wire::AfcOpenMode::WriteTruncate, "/a"), "text");
    EXPECT_EQ(
        statusOf(ask(AfcOperation::MakeLink, AfcParameters{}.word(2).path("a").path("/soft"))),
        AfcStatus::Success);
    EXPECT_EQ(std::filesystem::read_symlink(folder_.path() / "soft"), "a");
    EXPECT_EQ(
        statusOf(ask(AfcOperation::MakeLink, AfcParameters{}.word(1).path("/a").path("/hard"))),
        AfcStatus::Success);
    EXPECT_EQ(statusOf(ask(AfcOperation::Rename, AfcParameters{}.path("/a").path("/b"))),
              AfcStatus::Success);
    EXPECT_EQ(statusOf(ask(AfcOperation::TruncatePath, AfcParameters{}.word(2).path("/b"))),
              AfcStatus::Success);
    EXPECT_EQ(std::filesystem::file_size(folder_.path() / "b"), 2U);
    EXPECT_EQ(statusOf(ask(AfcOperation::SetModificationTime,
                           AfcParameters{}.word(7'000'000'001).path("/b"))),
              AfcStatus::Success);
    const auto names =
        wire::splitNames(ask(AfcOperation::ReadDirectory, AfcParameters{}.path("/")).data);
    ASSERT_TRUE(names);
    EXPECT_EQ(names->size(), 5U);
}

TEST_F(AfcRequestsTest, DamagedParametersAreInvalid) {
    for (const AfcOperation operation : wire::afcRequests()) {
        if (operation == AfcOperation::DeviceInfo) {
            continue;
        }
        EXPECT_EQ(statusOf(requests_.answer(operation, {}, {})), AfcStatus::InvalidArgument)
            << wire::afcRequestName(operation);
        EXPECT_EQ(statusOf(requests_.answer(operation, wire::asBytes("abc"), {})),
                  AfcStatus::InvalidArgument)
            << wire::afcRequestName(operation);
    }
    const auto handle = open(wire::AfcOpenMode::ReadTruncate, "/file");
    EXPECT_EQ(statusOf(ask(AfcOperation::FileRead, AfcParameters{}.word(handle))),
              AfcStatus::InvalidArgument);
    EXPECT_EQ(
        statusOf(ask(AfcOperation::FileRead, AfcParameters{}.word(handle).word(~std::uint64_t{0}))),
        AfcStatus::NoResources);
    EXPECT_EQ(statusOf(ask(AfcOperation::FileSeek, AfcParameters{}.word(handle).word(0))),
              AfcStatus::InvalidArgument);
    EXPECT_EQ(statusOf(ask(AfcOperation::MakeLink, AfcParameters{}.word(3).path("a").path("b"))),
              AfcStatus::InvalidArgument);
}

TEST_F(AfcRequestsTest, AnswersAndUnknownOperationsAreNoRequests) {
    EXPECT_EQ(statusOf(ask(AfcOperation::Data, {})), AfcStatus::UnknownPacketType);
    EXPECT_EQ(statusOf(ask(static_cast<AfcOperation>(0x99), {})), AfcStatus::OperationNotSupported);
}

}  // namespace
}  // namespace quillbox::simulator
