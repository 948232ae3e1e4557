// SPDX-License-Identifier: GPL-3.0-or-later
#include "Wire/AfcProtocol.h"

#include <gtest/gtest.h>

#include <set>

namespace quillbox::wire {
namespace {

TEST(AfcProtocol, EveryRequestHasANameOfItsOwn) {
    std::set<std::string_view> names;
    for (const AfcOperation request : afcRequests()) {
        const std::string_view name = afcRequestName(request);
        EXPECT_FALSE(name.empty());
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_EQ(afcRequestFromName(name), request);
    }
    EXPECT_EQ(names.size(), 18U);
}

TEST(AfcProtocol, AnswersAndUnknownNumbersHaveNoRequestName) {
    EXPECT_TRUE(afcRequestName(AfcOperation::Status).empty());
    EXPECT_TRUE(afcRequestName(AfcOperation::FileOpenResult).empty());
    EXPECT_TRUE(afcRequestName(static_cast<AfcOperation>(999)).empty());
    EXPECT_FALSE(afcRequestFromName("status"));
    EXPECT_FALSE(afcRequestFromName(""));
}

TEST(AfcProtocol, StatusesHaveNames) {
    EXPECT_EQ(afcStatusName(AfcStatus::ObjectNotFound), "object-not-found");
    EXPECT_EQ(afcStatusFromName("directory-not-empty"), AfcStatus::DirectoryNotEmpty);
    EXPECT_TRUE(afcStatusName(static_cast<AfcStatus>(24)).empty());
    EXPECT_FALSE(afcStatusFromName("nothing"));
}

}  // namespace
}  // namespace quillbox::wire
