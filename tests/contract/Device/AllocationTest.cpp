// SPDX-License-Identifier: GPL-3.0-or-later
// Reading and writing an open file takes no memory for each request.
#include "DeviceTesting.h"

#include <cstdlib>
#include <fstream>
#include <new>

namespace {

thread_local std::size_t allocations = 0;

void* counted(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc{};
}

}  // namespace

// The whole test program's; arrays come here too.
void* operator new(std::size_t size) {
    return counted(size);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace quillbox::testing {

namespace {

class AllocationTest : public DeviceTest {
protected:
    static constexpr std::size_t kSize = 4096;
    static constexpr std::size_t kRequests = 64;

    void begin() {
        start({"--devices", "1", "--no-tls"});
        ASSERT_NE(connected(), nullptr);
        ASSERT_NE(arrivalConnection, 0U);
        std::ofstream{simulator->media() / "file"} << std::string(4U << 20U, 'o');
    }

    /// What `transfer` allocates on its thread in many requests, after some that set up what stays.
    template <typename Transfer>
    void count(std::uint64_t mode, Transfer transfer) {
        std::thread thread{[&] {
            AFCFileRef file = 0;
            ASSERT_EQ(afc().AFCFileRefOpen(arrivalConnection, "/file", mode, &file), kAFCSuccess);
            for (std::size_t i = 0; i < 8; ++i) {
                transfer(file, i);
            }
            const std::size_t before = allocations;
            for (std::size_t i = 8; i < 8 + kRequests; ++i) {
                transfer(file, i);
            }
            taken = allocations - before;
            EXPECT_EQ(afc().AFCFileRefClose(arrivalConnection, file), kAFCSuccess);
        }};
        thread.join();
    }

    std::array<char, kSize> bytes{};
    std::size_t taken = 0;
};

TEST_F(AllocationTest, ReadingInOrderTakesNoMemoryForEachRequest) {
    begin();
    count(1, [this](AFCFileRef file, std::size_t i) {
        std::uint64_t length = kSize;
        EXPECT_EQ(
            afc().AFCFileRefSeek(arrivalConnection, file, static_cast<std::int64_t>(i * kSize), 0),
            kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefRead(arrivalConnection, file, bytes.data(), &length),
                  kAFCSuccess);
        EXPECT_EQ(length, kSize);
    });
    EXPECT_LT(taken, kRequests / 2) << "a window that grows may take some";
}

TEST_F(AllocationTest, ReadingHereAndThereTakesNoMemoryForEachRequest) {
    begin();
    count(1, [this](AFCFileRef file, std::size_t i) {
        std::uint64_t length = kSize;
        const std::size_t place = i * 29 % 61 * 10 * kSize;
        EXPECT_EQ(
            afc().AFCFileRefSeek(arrivalConnection, file, static_cast<std::int64_t>(place), 0),
            kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefRead(arrivalConnection, file, bytes.data(), &length),
                  kAFCSuccess);
        EXPECT_EQ(length, kSize);
    });
    EXPECT_EQ(taken, 0U);
}

TEST_F(AllocationTest, WritingTakesNoMemoryForEachRequest) {
    begin();
    count(2, [this](AFCFileRef file, std::size_t i) {
        EXPECT_EQ(
            afc().AFCFileRefSeek(arrivalConnection, file, static_cast<std::int64_t>(i * kSize), 0),
            kAFCSuccess);
        EXPECT_EQ(afc().AFCFileRefWrite(arrivalConnection, file, bytes.data(), kSize), kAFCSuccess);
    });
    EXPECT_EQ(taken, 0U);
}

}  // namespace

}  // namespace quillbox::testing
