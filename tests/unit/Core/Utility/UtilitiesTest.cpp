// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Utility/Utilities.h"
#include "Fakes/World.h"

namespace quillbox::fakes {
namespace {

class UtilitiesTest : public CoreTest {};

TEST_F(UtilitiesTest, ByteCountsAreShownInStepsOf1024) {
    const std::vector<std::pair<std::uint64_t, const char*>> rows{
        {0, ""},
        {1, "1 B"},
        {1023, "1023 B"},
        {1024, "1 kB"},
        {1536, "1 kB"},
        {1048575, "1023 kB"},
        {1048576, "1.0 MB"},
        {1572864, "1.5 MB"},
        {1073741823, "1024.0 MB"},
        {1073741824, "1.0 GB"},
        {1610612736, "1.5 GB"},
        {17179869184, "16.0 GB"},
        {1125899969757184, "1048576.0 GB"},  // 60 MiB above, lost in single precision
        {18446744073709551615U, "17179869184.0 GB"},
    };
    for (const auto& [bytes, shown] : rows) {
        EXPECT_EQ(Utilities::byteCountToDisplayString(bytes), shown) << bytes;
    }
}

TEST_F(UtilitiesTest, AFreePathIsReturnedUnchangedWithoutALine) {
    EXPECT_EQ(Utilities::incramentPathIfExists("/x/a.txt"), "/x/a.txt");
    EXPECT_EQ(world.log.take(), Texts{});
    EXPECT_EQ(Utilities::incramentPathIfExists(std::nullopt), std::nullopt);
}

TEST_F(UtilitiesTest, ATakenPathGetsTheNextNumberInParentheses) {
    world.files.paths = {"/x/a.txt", "/x/a(1).txt"};
    EXPECT_EQ(Utilities::incramentPathIfExists("/x/a.txt"), "/x/a(2).txt");
    EXPECT_EQ(world.log.take(),
              (Texts{"incramented filename: /x/a(1).txt", "incramented filename: /x/a(2).txt"}));
}

TEST_F(UtilitiesTest, ATakenPathWithoutExtensionGetsNoDot) {
    world.files.paths = {"/x.d/folder"};
    EXPECT_EQ(Utilities::incramentPathIfExists("/x.d/folder"), "/x.d/folder(1)");
}

TEST_F(UtilitiesTest, AnExtensionThatWasMadeFromAPathMatchesNoList) {
    for (const char* path : {"/a.jpg", "/a.mp3", "/a.mov", "/a", "/a..jpg"}) {
        EXPECT_EQ(Utilities::mediaTypeForFilePath(path), 3) << path;
    }
}

TEST_F(UtilitiesTest, ExtensionsMatchByIdentityAlone) {
    auto& common = CommonData::sharedInstance();
    EXPECT_EQ(Utilities::mediaTypeForExtension(common.pictureTypes().at(3)), 2);
    EXPECT_EQ(Utilities::mediaTypeForExtension(common.audioTypes().at(0)), 1);
    EXPECT_EQ(Utilities::mediaTypeForExtension(common.videoTypes().at(7)), 0);
    EXPECT_EQ(Utilities::mediaTypeForExtension(std::string(common.pictureTypes().at(3))), 3);
}

TEST_F(UtilitiesTest, AbsentTextsHaveTheirStandIns) {
    EXPECT_EQ(Utilities::stringOrNA(std::nullopt), "Not available");
    EXPECT_EQ(Utilities::stringOrNA(""), "");
    EXPECT_EQ(Utilities::stringOrNA("x"), "x");
    EXPECT_EQ(Utilities::stringOrEmpty(std::nullopt), "");
    EXPECT_EQ(Utilities::stringOrEmpty("x"), "x");
}

TEST_F(UtilitiesTest, APathIsHiddenByAnyComponent) {
    EXPECT_TRUE(Utilities::isHiddenFile("/Users/x/.Trash/file"));
    EXPECT_TRUE(Utilities::isHiddenFile(".hidden"));
    EXPECT_TRUE(Utilities::isHiddenFile("/Users/.x"));
    EXPECT_TRUE(Utilities::isHiddenFile("../x"));
    EXPECT_FALSE(Utilities::isHiddenFile("/Users/x/file"));
    EXPECT_FALSE(Utilities::isHiddenFile("/Users/x/file.txt"));
    EXPECT_FALSE(Utilities::isHiddenFile("/"));
    EXPECT_FALSE(Utilities::isHiddenFile(""));
}

}  // namespace
}  // namespace quillbox::fakes
