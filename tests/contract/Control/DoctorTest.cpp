// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Doctor.h"
#include "ControlTesting.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

namespace quillbox::control {

namespace {

using Kind = Finding::Kind;

/// A system where all is well, as far as one user can make it: a device that opens, and a program
/// that stands for the mount helper.
class FuseTest : public ::testing::Test {
protected:
    FuseTest() {
        places.device = "/dev/null";
        places.folders = {folder / "missing", folder.path()};
        places.processStatus = folder / "status";
        std::ofstream(places.processStatus) << "Name:\tx\nNoNewPrivs:\t0\n";
    }

    void makeHelper(mode_t mode) const {
        std::ofstream(folder / "fusermount3") << "";
        ::chmod((folder / "fusermount3").c_str(), mode);
    }

    Finding device() const { return checkFuse(places).at(0); }

    Finding helper() const { return checkFuse(places).at(1); }

    const TestFolder folder;
    FusePlaces places;
};

TEST_F(FuseTest, ADeviceThatOpensIsGood) {
    EXPECT_EQ(device().kind, Kind::Good);
}

TEST_F(FuseTest, AMissingOrStrangeDeviceIsAProblemWithHelp) {
    places.device = folder / "fuse";
    EXPECT_EQ(device().kind, Kind::Problem);
    EXPECT_NE(device().help.find("modprobe"), std::string::npos);
    std::ofstream(folder / "fuse") << "";
    EXPECT_EQ(device().kind, Kind::Problem);
}

TEST_F(FuseTest, TheMountHelperMustBeThereAndRunAsRoot) {
    EXPECT_EQ(helper().kind, Kind::Problem);
    EXPECT_NE(helper().text.find("not installed"), std::string::npos);
    makeHelper(0755);
    EXPECT_EQ(helper().kind, Kind::Problem);
    EXPECT_NE(helper().text.find("setuid"), std::string::npos);
    makeHelper(0600);
    EXPECT_EQ(helper().kind, Kind::Problem);
    places.isRoot = true;
    EXPECT_EQ(helper().kind, Kind::Good);
}

TEST_F(FuseTest, ASetuidHelperIsNoUseWherePrivilegesCannotBeGained) {
    // Any program of root's with the bit stands for it; every system has one that lets users in.
    ASSERT_EQ(::symlink("/usr/bin/passwd", (folder / "fusermount3").c_str()), 0);
    EXPECT_EQ(helper().kind, Kind::Good) << helper().text;
    std::ofstream(places.processStatus, std::ios::trunc) << "NoNewPrivs:\t1\n";
    EXPECT_EQ(helper().kind, Kind::Problem);
}

DeviceView device(const std::string& state, bool isMounted) {
    DeviceView view;
    view.name = "Blue Phone";
    view.uniqueDeviceID = "UDID";
    view.state = state;
    view.advice = "it is so";
    view.isMounted = isMounted;
    view.mountPoint = isMounted ? "/Volumes/Blue Phone" : "";
    return view;
}

TEST(JudgeTest, ADeviceThatIsNotReadyIsTheOnlyProblemOfADevice) {
    EXPECT_EQ(judgeDevice(device(kTrustedState, true), true).kind, Kind::Good);
    EXPECT_EQ(judgeDevice(device(kTrustedState, false), false).kind, Kind::Good);
    EXPECT_EQ(judgeDevice(device(kTrustedState, false), true).kind, Kind::Note);
    const auto locked = judgeDevice(device("locked", false), true);
    EXPECT_EQ(locked.kind, Kind::Problem);
    EXPECT_EQ(locked.subject, "Blue Phone");
    EXPECT_EQ(locked.text, "it is so");
}

TEST(FindingsTest, TheirTextEndsWithTheSum) {
    std::vector<Finding> findings{{Kind::Good, "One", "is\x1B well", {}},
                                  {Kind::Note, "Two", "is odd", "think about it"}};
    EXPECT_FALSE(hasProblem(findings));
    EXPECT_EQ(findingsAsText(findings), "good     One: is? well.\n"
                                        "note     Two: is odd.\n"
                                        "         -> think about it.\n"
                                        "Nothing stands in the way.\n");
    findings.push_back({Kind::Problem, "Three", "is bad", {}});
    EXPECT_TRUE(hasProblem(findings));
    EXPECT_NE(findingsAsText(findings).find("1 problem stands in the way."), std::string::npos);
    findings.push_back(findings.back());
    EXPECT_NE(findingsAsText(findings).find("2 problems stand in the way."), std::string::npos);
}

TEST(FindingsTest, ProgramsGetThemAsJson) {
    const auto text = findingsAsJson({{Kind::Problem, "One", "is bad", {}}}, {});
    EXPECT_EQ(text, "{\n  \"ok\": false,\n  \"findings\": [\n    {\n      \"kind\": \"problem\",\n"
                    "      \"subject\": \"One\",\n      \"text\": \"is bad\",\n"
                    "      \"help\": null\n    }\n  ],\n  \"devices\": []\n}\n");
}

TEST(StatesTest, DevicesComeBackAsTheyWere) {
    const auto devices =
        devicesFromStates(statesText({device("locked", false), device(kTrustedState, true)}));
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0].state, "locked");
    EXPECT_FALSE(devices[0].isMounted);
    EXPECT_EQ(devices[1].mountPoint, "/Volumes/Blue Phone");
    EXPECT_TRUE(devices[1].isMounted);
    EXPECT_EQ(devices[1].uniqueDeviceID, "UDID");
    EXPECT_TRUE(devicesFromStates("no states\n\t\t\n").empty());
    auto evil = device("locked", false);
    evil.name = "a\tb\nc";
    ASSERT_EQ(devicesFromStates(statesText({evil})).size(), 1U);
    EXPECT_EQ(devicesFromStates(statesText({evil}))[0].name, "a?b?c");
}

}  // namespace

}  // namespace quillbox::control
