// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Images/NSImage+IconData.h"

#include "Core/Images/IconFamily.h"
#include "Fakes/World.h"

#include <cmath>

namespace quillbox::fakes {
namespace {

constexpr const char* kSaved = "/out.jpg";

class IconDataTest : public CoreTest {
protected:
    bool save(const std::string& encoded, float quality = 1.0F) {
        return scaleAndSaveAsJPEG(world.platform, {encoded.begin(), encoded.end()}, 75, 75, quality,
                                  kSaved);
    }

    std::string saved() { return world.files.contents[kSaved]; }

    static std::string lines(std::initializer_list<const char*> texts) {
        std::string joined;
        for (const auto* text : texts) {
            joined += (joined.empty() ? "" : "\n") + std::string(text);
        }
        return joined;
    }
};

TEST_F(IconDataTest, APictureIsScaledUntilItJustCoversTheBoxAndItsCentreIsCut) {
    EXPECT_TRUE(save("picture 4000x3000"));
    EXPECT_EQ(saved(),
              lines({"JPEG 1 of grabbed (12, 0, 75, 75) of image 100x75", "interpolation 3",
                     "draw picture 4000x3000 in (0, 0, 100, 75) from (0, 0, 4000, 3000) "
                     "operation 2 fraction 1"}));
    EXPECT_TRUE(save("picture 300x1000"));
    EXPECT_TRUE(saved().starts_with("JPEG 1 of grabbed (0, 87, 75, 75) of image 75x250"));
}

TEST_F(IconDataTest, ASmallPictureIsNotScaledAndStandsInTheMiddle) {
    EXPECT_TRUE(save("picture 50x40"));
    EXPECT_TRUE(saved().starts_with("JPEG 1 of grabbed (-12, -17, 75, 75) of image 50x40"))
        << saved();
}

TEST_F(IconDataTest, APictureThatIsTooLongOnOneSideOnlyKeepsTheOther) {
    EXPECT_TRUE(save("picture 150x40"));  // rw 2, rh 0.53: the height is brought up to the box
    EXPECT_TRUE(saved().starts_with("JPEG 1 of grabbed (103, 0, 75, 75) of image 281x75"))
        << saved();
}

TEST_F(IconDataTest, APictureOfTheBoxsSizeStaysAsItIs) {
    EXPECT_TRUE(save("picture 75x75"));
    EXPECT_TRUE(saved().starts_with("JPEG 1 of grabbed (0, 0, 75, 75) of image 75x75"));
}

TEST_F(IconDataTest, QualityIsHeldBetweenItsBounds) {
    const auto qualityOf = [this](float quality) {
        save("picture 75x75", quality);
        return saved().substr(0, saved().find(" of"));
    };
    EXPECT_EQ(qualityOf(0.0F), "JPEG 0.85");
    EXPECT_EQ(qualityOf(-3.0F), "JPEG 0.85");
    EXPECT_EQ(qualityOf(std::nanf("")), "JPEG 0.85");
    EXPECT_EQ(qualityOf(0.5F), "JPEG 0.5");
    EXPECT_EQ(qualityOf(5.0F), "JPEG 1");
}

TEST_F(IconDataTest, EachStepOfSavingThatFailsSaysSo) {
    EXPECT_FALSE(save("no picture"));
    EXPECT_EQ(world.log.take(), (Texts{"Could not load '<10 bytes>'"}));
    world.images.canLockFocus = false;
    EXPECT_FALSE(save("picture 80x80"));
    EXPECT_EQ(world.log.take(), (Texts{"Could not render image"}));
    world.images.canLockFocus = true;
    world.images.canGrab = false;
    EXPECT_FALSE(save("picture 80x80"));
    EXPECT_EQ(world.log.take(), (Texts{"Could not scale image"}));
    world.images.canGrab = true;
    world.images.canEncode = false;
    EXPECT_FALSE(save("picture 80x80"));
    EXPECT_EQ(world.log.take(), (Texts{"Could not convert to JPEG"}));
    EXPECT_FALSE(world.files.contents.contains(kSaved));
}

TEST_F(IconDataTest, TheWritesResultIsTheAnswer) {
    world.calls.fail("writeDataAtomically", 1);
    EXPECT_FALSE(save("picture 80x80"));
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(IconDataTest, RoundedCornersClipBeforeTheyDraw) {
    const auto image = roundedCornersImage(world.platform, FakeImaging::image(512, 256), 85.0);
    ASSERT_TRUE(image);
    EXPECT_EQ(FakeImaging::story(*image),
              lines({"image 512x256", "interpolation 3", "clip (0, 0, 512, 256) 85 85",
                     "draw picture 512x256 in (0, 0, 512, 256) from (0, 0, 512, 256) operation 2 "
                     "fraction 1"}));
    EXPECT_EQ(world.log.take(), (Texts{"roundedCornersImage"}));
}

TEST_F(IconDataTest, AThumbnailStretchesThePictureToTheSquare) {
    const auto image = FakeImaging::image(200, 100);
    EXPECT_EQ(FakeImaging::story(*thumbnailImage(world.platform, image, 16, 2)),
              lines({"image 16x16", "clip (0, 0, 16, 16) 2 2", "interpolation 3",
                     "draw picture 200x100 in (0, 0, 16, 16) from (0, 0, 200, 100) operation 1 "
                     "fraction 1"}));
    EXPECT_EQ(FakeImaging::story(*thumbnailImage(world.platform, image, 16)),
              lines({"image 16x16", "interpolation 3",
                     "draw picture 200x100 in (0, 0, 16, 16) from (0, 0, 200, 100) operation 1 "
                     "fraction 1"}));
    EXPECT_EQ(world.log.take(), Texts{});
    EXPECT_EQ(world.images.size(image), (Size{200, 100})) << "the picture itself is unchanged";
}

TEST_F(IconDataTest, AnImageWithoutContentIsInvalid) {
    EXPECT_EQ(roundedCornersImage(world.platform, Image{}, 85), std::nullopt);
    EXPECT_EQ(thumbnailImage(world.platform, Image{}, 16, 2), std::nullopt);
    EXPECT_EQ(thumbnailImage(world.platform, Image{"missing", {}}, 16), std::nullopt);
    EXPECT_EQ(world.log.take(), (Texts{"Invalid Image", "Invalid Image", "Invalid Image"}));
}

TEST_F(IconDataTest, ANamedPictureIsAnImageToo) {
    world.images.resources["Folder"] = {32, 32};
    EXPECT_TRUE(thumbnailImage(world.platform, Image{"Folder", {}}, 16));
}

class DrawingTest : public IconDataTest {
protected:
    std::string drawn(double width, double height, const Rect& rect) {
        const auto focused = world.images.lockFocus({500, 500});
        drawInRect(world.platform, FakeImaging::image(width, height), *focused, rect,
                   NSCompositeCopy, 0.5);
        const std::string story = FakeImaging::story(focused->unlockFocus());
        return story.substr(story.find(" in ") + 4);
    }
};

TEST_F(DrawingTest, AWidePictureIsAsWideAsTheRectangleAndInItsMiddle) {
    EXPECT_EQ(drawn(200, 100, {{0, 0}, {100, 100}}),
              "(0, 25, 100, 50) from (0, 0, 200, 100) operation 1 fraction 0.5");
}

TEST_F(DrawingTest, ATallPictureIsAsHighAsTheRectangle) {
    EXPECT_EQ(drawn(100, 200, {{10, 20}, {100, 100}}),
              "(35, 20, 50, 100) from (0, 0, 100, 200) operation 1 fraction 0.5");
}

TEST_F(DrawingTest, TheShorterSideIsRoundedAndTheOffsetIsNot) {
    EXPECT_EQ(drawn(300, 200, {{0, 0}, {100, 100}}),
              "(0, 16.5, 100, 67) from (0, 0, 300, 200) operation 1 fraction 0.5");
    EXPECT_EQ(drawn(100, 300, {{0, 0}, {100, 100}}),
              "(33.5, 0, 33, 100) from (0, 0, 100, 300) operation 1 fraction 0.5");
}

TEST_F(DrawingTest, EqualProportionsFillTheRectangle) {
    EXPECT_EQ(drawn(10, 20, {{0, 0}, {50, 100}}),
              "(0, 0, 50, 100) from (0, 0, 10, 20) operation 1 fraction 0.5");
}

TEST_F(DrawingTest, FittingKeepsTheProportionsInAnImageOfExactlyThatSize) {
    const Image fitted = imageToFitSize(world.platform, FakeImaging::image(200, 100), {128, 128});
    EXPECT_EQ(FakeImaging::story(fitted),
              lines({"image 128x128", "interpolation 3",
                     "draw picture 200x100 in (0, 32, 128, 64) from (0, 0, 200, 100) operation 2 "
                     "fraction 1"}));
}

TEST_F(IconDataTest, AnIconFamilyHasOneElementOfTheWidthsType) {
    for (const auto& [width, type] :
         {std::pair{512, "ic09"}, std::pair{256, "ic08"}, std::pair{128, "ic07"}}) {
        const auto data = icnsDataWithWidth(world.platform, FakeImaging::image(200, 100), width);
        ASSERT_TRUE(data);
        const std::string text(data->begin(), data->end());
        EXPECT_EQ(text.substr(0, 4), "icns");
        EXPECT_EQ(text.substr(8, 4), type);
        const std::string size = std::to_string(width);
        EXPECT_TRUE(text.substr(16).starts_with("PNG of image " + size + "x" + size));
        const auto length = [&text](std::size_t at) {
            std::size_t value = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                value = value << 8U | static_cast<unsigned char>(text[at + i]);
            }
            return value;
        };
        EXPECT_EQ(length(4), text.size());
        EXPECT_EQ(length(12), text.size() - 8);
    }
    EXPECT_EQ(world.log.take(), Texts{});
}

TEST_F(IconDataTest, AnyOtherIconWidthIsRefused) {
    for (const std::int32_t width : {64, 1024, 0, -512}) {
        EXPECT_EQ(icnsDataWithWidth(world.platform, FakeImaging::image(9, 9), width), std::nullopt);
        EXPECT_EQ(world.log.take(), (Texts{"Invalid icon width: " + std::to_string(width)}));
    }
}

TEST_F(IconDataTest, AnIconThatCannotBeEncodedIsNone) {
    world.images.canEncode = false;
    EXPECT_EQ(icnsDataWithWidth(world.platform, FakeImaging::image(9, 9), 512), std::nullopt);
    world.images.canLockFocus = false;
    EXPECT_EQ(icnsDataWithWidth(world.platform, FakeImaging::image(9, 9), 512), std::nullopt);
}

}  // namespace
}  // namespace quillbox::fakes
