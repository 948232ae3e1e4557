// SPDX-License-Identifier: GPL-3.0-or-later
#include "ImagesTesting.h"

namespace quillbox::desktop {
namespace {

constexpr const char* kSaved = "/out.jpg";

class SavingTest : public ImagesTest {
protected:
    /// What a decoder makes of the thumbnail that was saved of a picture.
    QImage saved(const PropertyData& picture, float quality = 1.0F) {
        EXPECT_TRUE(scaleAndSaveAsJPEG(world.platform, picture, 75, 75, quality, kSaved));
        const std::string& jpeg = world.files.contents[kSaved];
        return QImage::fromData(
            QByteArray::fromRawData(jpeg.data(), static_cast<qsizetype>(jpeg.size())), "JPEG");
    }

    /// Columns below `left` red, from `right` on blue, green between.
    static QImage bands(int width, int height, int left, int right) {
        return painted(width, height, [=](int x, int) {
            return x < left ? Qt::red : (x < right ? Qt::green : Qt::blue);
        });
    }
};

TEST_F(SavingTest, TheCutIsTheMiddleToThePixel) {
    // 400 by 300 becomes 100 by 75: columns 12 to 86 remain, 48 to 347 of the picture.
    const QImage exact = saved(encoded(bands(400, 300, 48, 348), "png"));
    ASSERT_EQ(exact.size(), QSize(75, 75));
    for (int x = 0; x < 75; ++x) {
        EXPECT_LT(distance(exact.pixelColor(x, 37), Qt::green), 24) << x;
    }
    const QImage wide = saved(encoded(bands(400, 300, 64, 332), "png"));
    EXPECT_GT(wide.pixelColor(0, 37).red(), 200);
    EXPECT_GT(wide.pixelColor(74, 37).blue(), 200);
}

TEST_F(SavingTest, AJpegIsCutLikeAPng) {
    const QImage jpeg = saved(encoded(bands(400, 300, 48, 348), "jpeg"));
    ASSERT_EQ(jpeg.size(), QSize(75, 75));
    EXPECT_LT(distance(jpeg.pixelColor(37, 37), Qt::green), 24);
}

TEST_F(SavingTest, ASmallPictureStandsInTheMiddleOfABlackBox) {
    const QImage box = saved(encoded(plain(50, 40, Qt::white), "png"));
    ASSERT_EQ(box.size(), QSize(75, 75));
    const auto isLight = [&box](int x, int y) { return box.pixelColor(x, y).green() > 128; };
    // 12 columns to its left and 13 to its right, 17 rows below it and 18 above.
    EXPECT_FALSE(isLight(11, 37));
    EXPECT_TRUE(isLight(12, 37));
    EXPECT_TRUE(isLight(61, 37));
    EXPECT_FALSE(isLight(62, 37));
    EXPECT_FALSE(isLight(37, 17));
    EXPECT_TRUE(isLight(37, 18));
    EXPECT_TRUE(isLight(37, 57));
    EXPECT_FALSE(isLight(37, 58));
    EXPECT_LT(distance(box.pixelColor(2, 2), Qt::black), 8);
}

TEST_F(SavingTest, QualityDecidesHowCloseTheCopyIs) {
    const QImage noise = painted(75, 75, [](int x, int y) {
        return QColor::fromHsv((x * 37 + y * 91) % 360, 200, (x * y) % 256);
    });
    const auto size = [&](float quality) {
        saved(encoded(noise, "png"), quality);
        return world.files.contents[kSaved].size();
    };
    const auto best = size(1.0F);
    EXPECT_LT(size(0.3F), size(0.85F));
    EXPECT_LT(size(0.85F), best);
    EXPECT_EQ(size(0.0F), size(0.85F));
    EXPECT_EQ(size(5.0F), best);
}

TEST_F(SavingTest, TransparencyShowsBlack) {
    const QImage box = saved(encoded(plain(75, 75, QColor(255, 255, 255, 0)), "png"));
    EXPECT_LT(distance(box.pixelColor(37, 37), Qt::black), 8);
}

TEST_F(SavingTest, APictureThatDoesNotDecodeIsNotSaved) {
    EXPECT_FALSE(scaleAndSaveAsJPEG(world.platform, {1, 2, 3}, 75, 75, 1, kSaved));
    EXPECT_FALSE(scaleAndSaveAsJPEG(world.platform, {}, 75, 75, 1, kSaved));
    EXPECT_EQ(world.log.take(),
              (fakes::Texts{"Could not load '<3 bytes>'", "Could not load '<0 bytes>'"}));
    EXPECT_FALSE(world.files.contents.contains(kSaved));
}

TEST_F(SavingTest, ABoxThatCannotBeCutIsRefused) {
    EXPECT_FALSE(
        scaleAndSaveAsJPEG(world.platform, encoded(plain(9, 9, Qt::red), "png"), 0, 0, 1, kSaved));
    EXPECT_FALSE(scaleAndSaveAsJPEG(world.platform, encoded(plain(9, 9, Qt::red), "png"), -5, 75, 1,
                                    kSaved));
    EXPECT_FALSE(world.files.contents.contains(kSaved));
}

TEST_F(SavingTest, AHugePictureKeepsItsGeometry) {
    // 12,000 by 9,000 becomes 100 by 75 as well; the middle of the cut lies in the dark half.
    const auto picture =
        blockJpeg(12'000, 9'000, false, [](int x, int) { return x < 900 ? 40 : 220; });
    const QImage cut = saved(picture);
    ASSERT_EQ(cut.size(), QSize(75, 75));
    EXPECT_NEAR(cut.pixelColor(0, 37).red(), 40, 12);
    EXPECT_NEAR(cut.pixelColor(46, 37).red(), 40, 12);  // the edge lies at 60 - 12 = 48
    EXPECT_NEAR(cut.pixelColor(50, 37).red(), 220, 12);
}

}  // namespace
}  // namespace quillbox::desktop
