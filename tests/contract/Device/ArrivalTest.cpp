// SPDX-License-Identifier: GPL-3.0-or-later
#include "DeviceTesting.h"

namespace quillbox::testing {

namespace {

class ArrivalTest : public DeviceTest {};

TEST_F(ArrivalTest, AttachedDeviceArrivesAndLeaves) {
    start({"--devices", "1", "--sample"});
    AMDeviceRef device = connected();
    ASSERT_NE(device, nullptr);
    EXPECT_NE(arrivalConnection, 0U);
    const auto name = am().AMDeviceCopyValue(device, std::nullopt, "DeviceName");
    ASSERT_TRUE(name);
    EXPECT_EQ(*name, PropertyValue{"Blue Phone"});
    EXPECT_EQ(am().AMDeviceCopyValue(device, std::nullopt, "SerialNumber"),
              PropertyValue{serialOf(1)});
    EXPECT_FALSE(am().AMDeviceCopyValue(device, std::nullopt, "NoSuchKey"));
    EXPECT_TRUE(log.has(serialOf(1)));

    std::vector<std::pair<AFCConnectionRef, bool>> ends;
    std::mutex mutex;
    library->setConnectionEndObserver([&](AFCConnectionRef connection, bool gone) {
        const std::lock_guard lock{mutex};
        ends.emplace_back(connection, gone);
    });
    simulator->control({"detach", udidOf(1)});
    ASSERT_TRUE(disconnected());
    EXPECT_EQ(departures.front(), device);
    {
        const std::lock_guard lock{mutex};
        ASSERT_EQ(ends.size(), 1U);
        EXPECT_EQ(ends.front(), std::pair(arrivalConnection, true));
    }
    EXPECT_NE(am().AMDeviceConnect(device), 0);
    std::vector<std::string> names;
    EXPECT_EQ(list(arrivalConnection, "/", names), kAFCConnectionLost);

    simulator->control({"attach", udidOf(1)});
    AMDeviceRef again = connected(2);
    ASSERT_NE(again, nullptr);
    EXPECT_NE(again, device);
}

TEST_F(ArrivalTest, EightDevicesWithoutTls) {
    start({"--devices", "8", "--no-tls"});
    connected(8);
    EXPECT_EQ(std::set<AMDeviceRef>(arrivals.begin(), arrivals.end()).size(), 8U);
}

TEST_F(ArrivalTest, SecondDeviceArrivesWhileTheFirstStallsInItsArrival) {
    start({"--devices", "2", "--detached"});
    simulator->control({"stall", udidOf(1)});
    simulator->control({"attach", udidOf(1)});
    simulator->control({"attach", udidOf(2)});
    AMDeviceRef device = connected();
    ASSERT_NE(device, nullptr);
    EXPECT_NE(DeviceLibrary::label(device).find(serialOf(2)), std::string::npos);
    EXPECT_TRUE(logged("does not answer"));
    EXPECT_EQ(arrivals.size(), 1U);
    simulator->control({"resume", udidOf(1)});
    EXPECT_NE(connected(2), nullptr);
}

TEST_F(ArrivalTest, DeviceLeavesInTheMiddleOfItsArrival) {
    onArrival = [this](AMDeviceRef device) {
        simulator->control({"stall", udidOf(1), "StartService"});
        bool pulled = false;
        const auto begin = std::chrono::steady_clock::now();
        loop.onTick = [&] {
            if (!pulled && std::chrono::steady_clock::now() - begin > 200ms) {
                pulled = true;
                simulator->control({"detach", udidOf(1)});
            }
        };
        EXPECT_EQ(openService(device), 0U);
        loop.onTick = nullptr;
        EXPECT_TRUE(pulled);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
        EXPECT_GT(loop.ticks, 10) << "timers are served within a wait";
        EXPECT_TRUE(departures.empty()) << "no message interrupts another";
    };
    DeviceOptions options = quick();
    options.noProgress = 10s;
    start({"--devices", "1"}, options);
    ASSERT_NE(connected(), nullptr);
    EXPECT_TRUE(disconnected());
}

TEST_F(ArrivalTest, AnnouncedByCableAndNetworkIsOneDevice) {
    start({"--devices", "1"});
    AMDeviceRef device = connected();
    simulator->control({"attach", udidOf(1), "--network"});
    loop.runFor(300ms);
    simulator->control({"detach", udidOf(1), "--network"});
    loop.runFor(300ms);
    EXPECT_EQ(arrivals.size(), 1U);
    EXPECT_TRUE(departures.empty());
    EXPECT_NE(openService(device), 0U);
}

TEST_F(ArrivalTest, LateSubscriberHearsOfPresentDevices) {
    start({"--devices", "1"});
    AMDeviceRef device = connected();
    AMDeviceRef heard = nullptr;
    am().AMDeviceNotificationSubscribe(
        [](AMDeviceNotificationInfo* info, void* data) {
            *static_cast<AMDeviceRef*>(data) = info->device;
        },
        0, 0, &heard, nullptr);
    EXPECT_TRUE(loop.runUntil([&] { return heard != nullptr; }));
    EXPECT_EQ(heard, device);
    loop.runFor(50ms);
    EXPECT_EQ(arrivals.size(), 1U);
}

class TrustTest : public DeviceTest {
protected:
    std::vector<DeviceTrustState> states() {
        const std::lock_guard lock{mutex_};
        return states_;
    }

    void observe() {
        library->setTrustObserver([this](AMDeviceRef, DeviceTrustState state) {
            const std::lock_guard lock{mutex_};
            states_.push_back(state);
        });
    }

private:
    std::mutex mutex_;
    std::vector<DeviceTrustState> states_;
};

TEST_F(TrustTest, PendingThenTrusted) {
    start({"--devices", "1", "--untrusted", "--detached"});
    observe();
    simulator->control({"attach", udidOf(1)});
    ASSERT_TRUE(logged("unlock the device and tap Trust"));
    EXPECT_TRUE(arrivals.empty());
    simulator->control({"trust", udidOf(1)});
    EXPECT_NE(connected(), nullptr);
    EXPECT_EQ(states(), (std::vector{DeviceTrustState::DialogPending, DeviceTrustState::Trusted}));
    EXPECT_EQ(log.count("unlock the device and tap Trust"), 1U);
}

TEST_F(TrustTest, ItsEndIsToldForADeviceThatNeverWasTrustedToo) {
    start({"--devices", "1", "--untrusted", "--detached"});
    observe();
    simulator->control({"attach", udidOf(1)});
    ASSERT_TRUE(logged("unlock the device and tap Trust"));
    simulator->control({"detach", udidOf(1)});
    EXPECT_TRUE(loop.runUntil([&] { return states().size() == 2; }));
    EXPECT_EQ(states(), (std::vector{DeviceTrustState::DialogPending, DeviceTrustState::Gone}));
}

TEST_F(TrustTest, TrustedWithoutAnEventIsFoundByAskingAgain) {
    start({"--devices", "1", "--untrusted", "--detached"});
    simulator->control({"attach", udidOf(1)});
    ASSERT_TRUE(logged("unlock the device and tap Trust"));
    simulator->control({"trust", udidOf(1), "--silent"});
    EXPECT_NE(connected(), nullptr);
}

TEST_F(TrustTest, PairedTwiceIsHarmless) {
    start({"--devices", "1", "--untrusted", "--detached"});
    simulator->control({"attach", udidOf(1)});
    ASSERT_TRUE(logged("unlock the device and tap Trust"));
    simulator->control({"trust", udidOf(1), "--twice"});
    ASSERT_NE(connected(), nullptr);
    simulator->control({"trust", udidOf(1), "--twice"});
    loop.runFor(500ms);
    EXPECT_EQ(arrivals.size(), 1U);
    EXPECT_TRUE(departures.empty());
}

TEST_F(TrustTest, PairedBeforeAttached) {
    start({"--devices", "1", "--untrusted", "--detached"});
    simulator->control({"attach", udidOf(1), "--paired-first", "--delay", "200"});
    EXPECT_NE(connected(), nullptr);
}

TEST_F(TrustTest, LockedAndNeverPaired) {
    start({"--devices", "1", "--untrusted", "--detached"});
    simulator->control({"lock", udidOf(1)});
    simulator->control({"attach", udidOf(1)});
    ASSERT_TRUE(logged("it is locked: unlock the device"));
    simulator->control({"unlock", udidOf(1)});
    ASSERT_TRUE(logged("tap Trust"));
    simulator->control({"trust", udidOf(1), "--silent"});
    EXPECT_NE(connected(), nullptr);
}

TEST_F(TrustTest, RefusedIsAskedOnceAnArrival) {
    start({"--devices", "1", "--untrusted", "--detached"});
    simulator->control({"attach", udidOf(1)});
    simulator->control({"refuse", udidOf(1)});
    ASSERT_TRUE(logged("unplug, plug in again and tap Trust"));
    const long asked = simulator->count("Pair");
    loop.runFor(1s);
    EXPECT_EQ(simulator->count("Pair"), asked);
    EXPECT_TRUE(arrivals.empty());
    simulator->control({"detach", udidOf(1)});
    simulator->control({"attach", udidOf(1)});
    EXPECT_TRUE(logged("unlock the device and tap Trust"));
    simulator->control({"trust", udidOf(1)});
    EXPECT_NE(connected(), nullptr);
}

TEST_F(TrustTest, TrustResetIsNamedAndAskedAnew) {
    start({"--devices", "1", "--detached"});
    simulator->control({"distrust", udidOf(1)});
    simulator->control({"attach", udidOf(1)});
    ASSERT_TRUE(logged("trust was reset: unplug, plug in and tap Trust"));
    EXPECT_GE(simulator->count("Pair"), 0);
    simulator->control({"trust", udidOf(1)});
    EXPECT_NE(connected(), nullptr);
}

TEST_F(TrustTest, NotUnlockedSinceStartIsAnnouncedAgainOnceItIs) {
    start({"--devices", "1", "--detached"});
    simulator->control({"lock", udidOf(1), "--since-start"});
    simulator->control({"attach", udidOf(1)});
    ASSERT_TRUE(logged("unlock the device once after its restart"));
    EXPECT_EQ(arrivals.size(), 1U);
    EXPECT_EQ(arrivalConnection, 0U);
    loop.runFor(1s);
    EXPECT_EQ(arrivals.size(), 1U);
    simulator->control({"unlock", udidOf(1)});
    ASSERT_NE(connected(2), nullptr);
    EXPECT_NE(arrivalConnection, 0U);
    EXPECT_TRUE(departures.empty());
}

class MultiplexerTest : public DeviceTest {};

TEST_F(MultiplexerTest, GoesAwayAndComesBack) {
    start({"--devices", "1"});
    ASSERT_NE(connected(), nullptr);
    simulator->control({"mux", "stop"});
    EXPECT_TRUE(logged("The device service is not running"));
    EXPECT_TRUE(disconnected());
    simulator->control({"mux", "start"});
    EXPECT_TRUE(logged("The device service is back."));
    EXPECT_NE(connected(2), nullptr);
    EXPECT_EQ(log.count("The device service is not running"), 1U);
}

TEST_F(MultiplexerTest, QuickRestartLeavesTheDeviceAttached) {
    start({"--devices", "1"});
    ASSERT_NE(connected(), nullptr);
    simulator->control({"mux", "kill"});
    simulator->control({"mux", "start", "--empty", "300"});
    ASSERT_TRUE(logged("The device service is back."));
    loop.runFor(1500ms);
    EXPECT_EQ(arrivals.size(), 1U);
    EXPECT_TRUE(departures.empty());
    std::vector<std::string> names;
    aside([&] { EXPECT_EQ(list(arrivalConnection, "/", names), kAFCSuccess); });
}

TEST_F(MultiplexerTest, HangsAndRunsAgain) {
    start({"--devices", "1"});
    ASSERT_NE(connected(), nullptr);
    simulator->control({"mux", "hang"});
    EXPECT_TRUE(logged("accepts connections and does not answer"));
    simulator->control({"mux", "unhang"});
    EXPECT_TRUE(logged("The device service is back."));
    simulator->control({"detach", udidOf(1)});
    EXPECT_TRUE(disconnected());
    simulator->control({"attach", udidOf(1)});
    EXPECT_NE(connected(2), nullptr);
}

TEST_F(MultiplexerTest, StartsAfterTheLibrary) {
    simulator = std::make_unique<Simulator>(std::vector<std::string>{"--devices", "1"});
    simulator->control({"mux", "kill"});
    startLibrary();
    EXPECT_TRUE(logged("The device service is not running"));
    loop.runFor(1s);
    simulator->control({"mux", "start"});
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_NE(connected(), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 15s);
}

}  // namespace

}  // namespace quillbox::testing
