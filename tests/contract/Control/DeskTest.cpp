// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Control/Calling.h"
#include "Linux/Control/Rendering.h"
#include "Linux/Control/VerbDesk.h"
#include "Linux/Control/Verbs.h"

#include <gtest/gtest.h>

namespace quillbox::control {

namespace {

DeviceView phone(const std::string& number, const std::string& name = "Blue Phone") {
    DeviceView view;
    view.name = name;
    view.serialNumber = "SERIAL" + number;
    view.uniqueDeviceID = "UDID" + number;
    view.state = kTrustedState;
    view.advice = "it trusts this computer";
    view.root = view.rootName = "Media";
    view.mayMount = true;
    return view;
}

DeviceView mountedPhone(const std::string& number, const std::string& name = "Blue Phone") {
    DeviceView view = phone(number, name);
    view.isMounted = true;
    view.mountPoint = "/Volumes/" + name;
    view.mayMount = false;
    view.mayUnmount = view.mayReveal = view.mayShowInfo = view.mayChangeRoot = true;
    return view;
}

/// Writes down what is asked of it.
class FakeProgram : public ProgramControl {
public:
    std::vector<DeviceView> views;
    std::vector<RootView> rootViews{{100, "org.notes", "Notes", false},
                                    {101, "org.other", "Notes", false},
                                    {102, "org.media", "Media", false},
                                    {11, "Media", "Media", true}};
    std::vector<std::string> calls;
    std::vector<Done> waiting;
    bool hasDisplay = false;

    std::vector<DeviceView> devices() override { return views; }

    void mount(const std::string& device, Done done) override { note("mount " + device, done); }

    void unmount(const std::string& device, Done done) override { note("unmount " + device, done); }

    std::vector<RootView> roots(const std::string& /*device*/) override { return rootViews; }

    void changeRoot(const std::string& device, std::int32_t tag, Done done) override {
        note("root " + device + " " + std::to_string(tag), done);
    }

    std::vector<DeviceFact> information(const std::string& device) override {
        return {{"name", "Name", device}};
    }

    void reveal(const std::string& device) override { calls.push_back("reveal " + device); }

    bool raise() override {
        calls.emplace_back("raise");
        return hasDisplay;
    }

    std::vector<std::string> startOptions() override { return {"--headless"}; }

private:
    void note(const std::string& what, Done& done) {
        calls.push_back(what);
        waiting.push_back(std::move(done));
    }
};

class DeskTest : public ::testing::Test {
protected:
    /// The answer, where it came already.
    std::optional<Answer> ask(const std::string& verb, std::vector<std::string> arguments = {},
                              bool json = false) {
        answer_.reset();
        desk.perform({verb, json, std::move(arguments)}, [this](Answer answer) {
            EXPECT_FALSE(answer_) << "two answers";
            answer_ = std::move(answer);
        });
        return answer_;
    }

    std::string problem(const std::string& verb, const std::vector<std::string>& arguments) {
        const auto answer = ask(verb, arguments);
        return answer && answer->status == kCouldNot && answer->output.empty() ? answer->error
                                                                               : "not refused";
    }

    FakeProgram program;
    VerbDesk desk{program};
    std::optional<Answer> answer_;
};

TEST_F(DeskTest, AMountIsAnsweredWhenItIsThere) {
    program.views = {phone("1")};
    EXPECT_FALSE(ask("mount", {"Blue Phone"}));
    EXPECT_EQ(program.calls, std::vector<std::string>{"mount UDID1"});
    program.views = {mountedPhone("1")};
    program.waiting.at(0)(std::nullopt);
    ASSERT_TRUE(answer_);
    EXPECT_EQ(answer_->status, kDone);
    EXPECT_EQ(answer_->output, "Blue Phone (Media) is mounted at /Volumes/Blue Phone.\n");
}

TEST_F(DeskTest, AMountThatFailsSaysWhy) {
    program.views = {phone("1")};
    EXPECT_FALSE(ask("mount", {"SERIAL1"}));
    program.waiting.at(0)("the folder is not empty");
    ASSERT_TRUE(answer_);
    EXPECT_EQ(answer_->status, kCouldNot);
    EXPECT_EQ(answer_->error, "Blue Phone: the folder is not empty");
}

TEST_F(DeskTest, WhatIsSoAlreadyIsDoneAtOnce) {
    program.views = {mountedPhone("1"), phone("2", "Other")};
    EXPECT_EQ(ask("mount", {"UDID1"})->status, kDone);
    EXPECT_EQ(ask("unmount", {"Other"})->status, kDone);
    EXPECT_EQ(ask("root", {"UDID1", "media"})->status, kDone);
    EXPECT_TRUE(program.calls.empty());
}

TEST_F(DeskTest, AVerbActsWhereItsMenuItemIsEnabled) {
    program.views = {phone("1")};
    for (const auto* verb : {"info", "reveal"}) {
        EXPECT_EQ(problem(verb, {"UDID1"}), "Blue Phone is not mounted") << verb;
    }
    EXPECT_EQ(problem("root", {"UDID1", "org.notes"}), "Blue Phone is not mounted");
    program.views[0].mayMount = false;
    EXPECT_EQ(problem("mount", {"UDID1"}), "Blue Phone cannot be mounted at this moment");
    program.views = {mountedPhone("1")};
    program.views[0].mayUnmount = false;
    EXPECT_EQ(problem("unmount", {"UDID1"}), "Blue Phone cannot be unmounted at this moment");
    EXPECT_TRUE(program.calls.empty());
}

TEST_F(DeskTest, ADeviceThatIsNotReadySaysWhatHelps) {
    DeviceView locked;
    locked.uniqueDeviceID = "UDID9";
    locked.state = "locked";
    locked.advice = "it is locked: unlock the device";
    program.views = {locked};
    program.rootViews.clear();
    for (const auto* verb : {"mount", "info", "reveal", "root"}) {
        EXPECT_EQ(problem(verb, {"UDID9"}), "the device UDID9: it is locked: unlock the device")
            << verb;
    }
}

TEST_F(DeskTest, InfoAndRevealActOnAMountedDevice) {
    program.views = {mountedPhone("1")};
    EXPECT_EQ(ask("info", {"UDID1"})->output, "Name:  UDID1\n");
    EXPECT_EQ(ask("info", {"UDID1"}, true)->output, "{\n  \"name\": \"UDID1\"\n}\n");
    EXPECT_EQ(ask("reveal", {"UDID1"})->status, kDone);
    EXPECT_EQ(program.calls, std::vector<std::string>{"reveal UDID1"});
}

TEST_F(DeskTest, RootsAreListedAndChosen) {
    program.views = {mountedPhone("1")};
    EXPECT_EQ(ask("root", {"UDID1"})->output, "   Notes  org.notes\n   Notes  org.other\n"
                                              "   Media  org.media\n*  Media\n");
    EXPECT_FALSE(ask("root", {"UDID1", "org.other"}));
    EXPECT_FALSE(ask("root", {"UDID1", "org.media"}));
    EXPECT_EQ(program.calls, (std::vector<std::string>{"root UDID1 101", "root UDID1 102"}));
    EXPECT_EQ(problem("root", {"UDID1", "Notes"}),
              "2 applications are called Notes: give the bundle identifier");
    EXPECT_EQ(problem("root", {"UDID1", "Root"}), "the device offers no root Root");
}

TEST_F(DeskTest, BadUsageHasItsOwnStatus) {
    EXPECT_EQ(ask("mount")->status, kBadUsage);
    EXPECT_EQ(ask("dance", {"x"})->status, kBadUsage);
    EXPECT_EQ(ask("mount", {"a", "b"})->status, kBadUsage);
    EXPECT_EQ(ask("doctor")->status, kCouldNot);
}

TEST_F(DeskTest, ASecondStartIsToldWhetherItsOptionsCount) {
    EXPECT_EQ(ask(kRaise)->output, "Quillbox is already running, without a display.\n");
    EXPECT_EQ(ask(kRaise, {"--headless"})->output,
              "Quillbox is already running, without a display.\n");
    program.hasDisplay = true;
    EXPECT_EQ(ask(kRaise, {"--volumes", "/v"})->output,
              "Quillbox is already running and was brought to the front; the options of this "
              "start were ignored.\n");
    EXPECT_EQ(program.calls.size(), 3U);
}

TEST_F(DeskTest, TheListOfNothing) {
    EXPECT_EQ(ask("list")->output, "No device is attached.\n");
    EXPECT_EQ(ask("list", {}, true)->output, "[]\n");
}

TEST(FindDeviceTest, ByIdentifierThenSerialNumberThenName) {
    std::string why;
    const std::vector<DeviceView> devices{phone("1"), phone("2", "SERIAL1"), phone("3", "UDID1"),
                                          phone("4", "Twin"), phone("5", "Twin")};
    EXPECT_EQ(findDevice(devices, "UDID1", &why), &devices[0]);
    EXPECT_EQ(findDevice(devices, "SERIAL1", &why), &devices[0]);
    EXPECT_EQ(findDevice(devices, "SERIAL2", &why), &devices[1]);
    EXPECT_EQ(findDevice(devices, "Blue Phone", &why), &devices[0]);
    EXPECT_EQ(findDevice(devices, "blue phone", &why), nullptr);
    EXPECT_EQ(why, "no device blue phone is attached");
    EXPECT_EQ(findDevice(devices, "Twin", &why), nullptr);
    EXPECT_EQ(why, "2 devices are called Twin: give the serial number or the identifier");
    EXPECT_EQ(findDevice({}, "x", &why), nullptr);
}

TEST(RenderingTest, ADevicesTextsCannotHarmATerminal) {
    const auto text = devicesAsText({mountedPhone("1", "Evil\x1B[2J\nPhone")});
    EXPECT_EQ(text.find('\x1B'), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
}

TEST(RenderingTest, TheListIsAnArrayWithNullForWhatIsNot) {
    EXPECT_EQ(devicesAsJson({phone("1")}),
              "[\n  {\n    \"name\": \"Blue Phone\",\n    \"serialNumber\": \"SERIAL1\",\n"
              "    \"uniqueDeviceID\": \"UDID1\",\n    \"state\": \"trusted\",\n"
              "    \"advice\": \"it trusts this computer\",\n    \"mounted\": false,\n"
              "    \"root\": \"Media\",\n    \"rootName\": \"Media\",\n    \"mountPoint\": null\n"
              "  }\n]\n");
}

TEST(RenderingTest, ColumnsAreAsWideAsTheirWidestCell) {
    EXPECT_EQ(columns({{"a", "b"}, {"größer", "c"}, {"x"}}), "a       b\ngrößer  c\nx\n");
}

}  // namespace

}  // namespace quillbox::control
