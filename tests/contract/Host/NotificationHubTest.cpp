// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/NotificationHub.h"

#include <gtest/gtest.h>

namespace quillbox::host {

namespace {

class NotificationHubTest : public testing::Test {
protected:
    NotificationCenter::Handler note(const std::string& text) {
        return [this, text](const Notification&) { heard_ += text; };
    }

    void post(const std::string& name) { hub_.post({name, nullptr, {}}); }

    NotificationHub hub_;
    std::string heard_;
    int first_ = 0;
    int second_ = 0;
};

TEST_F(NotificationHubTest, EachObserverOfTheNameHearsItInOrder) {
    hub_.addObserver(&first_, "a", note("1"));
    hub_.addObserver(&second_, "a", note("2"));
    hub_.addObserver(&first_, "b", note("b"));
    post("a");
    EXPECT_EQ(heard_, "12");
    post("nobody");
    EXPECT_EQ(heard_, "12");
}

TEST_F(NotificationHubTest, TheNoticeArrivesWhole) {
    const Notification sent{"a", &first_, {{"key", NSError::errorWithDomain("domain", 5)}}};
    Notification heard;
    hub_.addObserver(&first_, "a", [&](const Notification& each) { heard = each; });
    hub_.post(sent);
    EXPECT_EQ(heard.object, &first_);
    EXPECT_EQ(heard.userInfo, sent.userInfo);
}

TEST_F(NotificationHubTest, TheSameObserverAndNameIsDeliveredOnce) {
    hub_.addObserver(&first_, "a", note("old"));
    hub_.addObserver(&first_, "a", note("new"));
    post("a");
    EXPECT_EQ(heard_, "new");
}

TEST_F(NotificationHubTest, ARemovedObserverHearsNothingMoreUnderAnyName) {
    hub_.addObserver(&first_, "a", note("1"));
    hub_.addObserver(&first_, "b", note("1"));
    hub_.addObserver(&second_, "a", note("2"));
    hub_.removeObserver(&first_);
    hub_.removeObserver(&first_);
    post("a");
    post("b");
    EXPECT_EQ(heard_, "2");
}

TEST_F(NotificationHubTest, AnObserverThatIsRemovedDuringADeliveryIsNotCalledAnyMore) {
    hub_.addObserver(&first_, "a", [this](const Notification&) {
        heard_ += "1";
        hub_.removeObserver(&second_);
        hub_.removeObserver(&first_);
    });
    hub_.addObserver(&second_, "a", note("2"));
    post("a");
    post("a");
    EXPECT_EQ(heard_, "1");
}

TEST_F(NotificationHubTest, AnObserverThatIsAddedDuringADeliveryHearsTheNextOne) {
    hub_.addObserver(&first_, "a", [this](const Notification&) {
        heard_ += "1";
        hub_.addObserver(&second_, "a", note("2"));
    });
    post("a");
    EXPECT_EQ(heard_, "1");
    post("a");
    EXPECT_EQ(heard_, "112");
}

TEST_F(NotificationHubTest, AHandlerMayReplaceItselfAndPostAnotherNotice) {
    hub_.addObserver(&first_, "a", [this](const Notification&) {
        hub_.addObserver(&first_, "a", note("new"));
        post("b");
        heard_ += "old";
    });
    hub_.addObserver(&second_, "b", note("inner "));
    post("a");
    post("a");
    EXPECT_EQ(heard_, "inner oldnew");
}

}  // namespace

}  // namespace quillbox::host
