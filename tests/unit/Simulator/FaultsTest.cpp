// SPDX-License-Identifier: GPL-3.0-or-later
#include "Faults.h"

#include <gtest/gtest.h>

#include <thread>

namespace quillbox::simulator {
namespace {

Faults::Request request(std::string_view kind, std::string_view device = "one",
                        std::string_view service = service::kAfc) {
    return {device, service, kind, requestGroup(kind)};
}

Verdict failure(const char* status) {
    return {Verdict::Kind::Fail, status, Malformed::WrongMagic};
}

TEST(Faults, TheNextRequestsOfTheKindFail) {
    Faults faults;
    faults.order("", "read", 1, 2, failure("8"));
    EXPECT_EQ(faults.judge(request("write")).kind, Verdict::Kind::Pass);
    EXPECT_EQ(faults.judge(request("read")).status, "8");
    EXPECT_EQ(faults.judge(request("read", "two")).status, "8");
    EXPECT_EQ(faults.judge(request("read")).kind, Verdict::Kind::Pass);
}

TEST(Faults, ExactlyTheNthFails) {
    Faults faults;
    faults.order("", "any", 3, 1, failure("20"));
    EXPECT_EQ(faults.judge(request("read")).kind, Verdict::Kind::Pass);
    EXPECT_EQ(faults.judge(request("StartService")).kind, Verdict::Kind::Pass) << "not of the kind";
    EXPECT_EQ(faults.judge(request("open")).kind, Verdict::Kind::Pass);
    EXPECT_EQ(faults.judge(request("close")).kind, Verdict::Kind::Fail);
    EXPECT_EQ(faults.judge(request("close")).kind, Verdict::Kind::Pass);
}

TEST(Faults, MayBeLimitedToADevice) {
    Faults faults;
    faults.order("two", "read", 1, 1, failure("8"));
    EXPECT_EQ(faults.judge(request("read", "one")).kind, Verdict::Kind::Pass);
    EXPECT_EQ(faults.judge(request("read", "two")).kind, Verdict::Kind::Fail);
}

TEST(Faults, CanBeForgotten) {
    Faults faults;
    faults.order("", "read", 1, 1, failure("8"));
    EXPECT_EQ(faults.clear(), 1U);
    EXPECT_EQ(faults.judge(request("read")).kind, Verdict::Kind::Pass);
}

TEST(Faults, AStalledRequestWaitsUntilResumed) {
    Faults faults;
    Channel channel{std::string{service::kAfc}};
    faults.stall("one", "read");
    EXPECT_TRUE(faults.pass(request("write"), channel));
    EXPECT_TRUE(faults.pass(request("read", "two"), channel));
    std::atomic<bool> passed = false;
    std::thread waiting{[&] { passed = faults.pass(request("read"), channel); }};
    std::this_thread::sleep_for(std::chrono::milliseconds{50});
    EXPECT_FALSE(passed);
    faults.resume("one", "read");
    waiting.join();
    EXPECT_TRUE(passed);
}

TEST(Faults, AStalledRequestGivesUpWhenItsClientLeaves) {
    Faults faults;
    Channel channel{std::string{service::kAfc}};
    faults.stall("", "afc");
    bool passed = true;
    std::thread waiting{[&] { passed = faults.pass(request("read"), channel); }};
    channel.close();
    waiting.join();
    EXPECT_FALSE(passed);
}

TEST(RequestKinds, BelongToGroups) {
    EXPECT_EQ(requestGroup("remove-all"), RequestGroup::Afc);
    EXPECT_EQ(requestGroup("StartSession"), RequestGroup::Lockdown);
    EXPECT_EQ(requestGroup("Connect"), RequestGroup::Multiplexer);
    EXPECT_EQ(requestGroup("VendDocuments"), RequestGroup::HouseArrest);
    EXPECT_EQ(requestGroup("Browse"), RequestGroup::Applications);
    EXPECT_EQ(requestGroup("getIconState"), RequestGroup::HomeScreen);
    EXPECT_EQ(requestGroup(""), RequestGroup::None);
    EXPECT_TRUE(namesService("house_arrest", service::kHouseArrest));
    EXPECT_TRUE(namesService(service::kAfc2, service::kAfc2));
    EXPECT_FALSE(namesService("afc", service::kAfc2));
}

}  // namespace
}  // namespace quillbox::simulator
