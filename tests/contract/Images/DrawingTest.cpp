// SPDX-License-Identifier: GPL-3.0-or-later
#include "ImagesTesting.h"

namespace quillbox::desktop {
namespace {

class DrawingTest : public ImagesTest {};

TEST_F(DrawingTest, RoundedCornersAreTransparentAndSoftAndTheRestIsKept) {
    const auto image = roundedCornersImage(world.platform, imageOf(plain(512, 512, Qt::red)), 85);
    ASSERT_TRUE(image);
    const QImage drawn = pixels(*image);
    ASSERT_EQ(drawn.size(), QSize(512, 512));
    for (const int x : {0, 511}) {
        for (const int y : {0, 511}) {
            EXPECT_EQ(drawn.pixelColor(x, y).alpha(), 0) << x << " " << y;
            // The arc crosses the diagonal 85 - 85 / sqrt(2) = 24.9 from the corner.
            EXPECT_EQ(drawn.pixelColor(std::abs(x - 23), std::abs(y - 23)).alpha(), 0);
            EXPECT_EQ(drawn.pixelColor(std::abs(x - 27), std::abs(y - 27)).alpha(), 255);
        }
    }
    EXPECT_EQ(drawn.pixelColor(86, 0), QColor(Qt::red));
    EXPECT_EQ(drawn.pixelColor(0, 86), QColor(Qt::red));
    EXPECT_EQ(drawn.pixelColor(256, 256), QColor(Qt::red));
    int soft = 0;
    for (int x = 0; x < 86; ++x) {
        const int alpha = drawn.pixelColor(x, 10).alpha();
        soft += alpha > 0 && alpha < 255 ? 1 : 0;
    }
    EXPECT_GT(soft, 0) << "the edge is not a staircase";
}

TEST_F(DrawingTest, AThumbnailIsStretchedAndStandsUpright) {
    const QImage picture = painted(200, 100, [](int x, int y) {
        return x < 100 ? (y < 50 ? Qt::red : Qt::green) : (y < 50 ? Qt::blue : Qt::white);
    });
    const QImage square = pixels(*thumbnailImage(world.platform, imageOf(picture), 16));
    ASSERT_EQ(square.size(), QSize(16, 16));
    EXPECT_EQ(square.pixelColor(0, 0), QColor(Qt::red));
    EXPECT_EQ(square.pixelColor(15, 0), QColor(Qt::blue));
    EXPECT_EQ(square.pixelColor(0, 15), QColor(Qt::green));
    EXPECT_EQ(square.pixelColor(15, 15), QColor(Qt::white));
    EXPECT_EQ(square.pixelColor(6, 6), QColor(Qt::red));
}

TEST_F(DrawingTest, AThumbnailsCornersAreCutByItsRadius) {
    const Image image = imageOf(plain(64, 64, Qt::blue));
    const QImage cut = pixels(*thumbnailImage(world.platform, image, 16, 2));
    for (const int x : {0, 15}) {
        for (const int y : {0, 15}) {
            EXPECT_LT(cut.pixelColor(x, y).alpha(), 180) << x << " " << y;
        }
    }
    EXPECT_EQ(cut.pixelColor(2, 0).alpha(), 255);
    EXPECT_EQ(cut.pixelColor(8, 8), QColor(Qt::blue));
    EXPECT_EQ(pixels(*thumbnailImage(world.platform, image, 16)).pixelColor(0, 0).alpha(), 255);
}

TEST_F(DrawingTest, AThumbnailKeepsThePicturesTransparency) {
    const QImage picture =
        painted(32, 32, [](int x, int) { return x < 16 ? QColor(Qt::red) : QColor(0, 0, 0, 0); });
    const QImage square = pixels(*thumbnailImage(world.platform, imageOf(picture), 16, 2));
    EXPECT_EQ(square.pixelColor(4, 8), QColor(Qt::red));
    EXPECT_EQ(square.pixelColor(12, 8).alpha(), 0);
}

TEST_F(DrawingTest, FittingLeavesTransparentBandsAroundAWidePicture) {
    const QImage fitted =
        pixels(imageToFitSize(world.platform, imageOf(plain(200, 100, Qt::red)), {128, 128}));
    ASSERT_EQ(fitted.size(), QSize(128, 128));
    for (const int x : {0, 64, 127}) {
        EXPECT_EQ(fitted.pixelColor(x, 31).alpha(), 0);
        EXPECT_EQ(fitted.pixelColor(x, 32), QColor(Qt::red));
        EXPECT_EQ(fitted.pixelColor(x, 95), QColor(Qt::red));
        EXPECT_EQ(fitted.pixelColor(x, 96).alpha(), 0);
    }
}

TEST_F(DrawingTest, AnOffsetOfHalfAPointIsDrawnAsOne) {
    const QImage fitted =
        pixels(imageToFitSize(world.platform, imageOf(plain(300, 200, Qt::red)), {100, 100}));
    // 100 by 67 at 16.5: the rows at both ends are half covered.
    EXPECT_EQ(fitted.pixelColor(50, 15).alpha(), 0);
    EXPECT_NEAR(fitted.pixelColor(50, 16).alpha(), 128, 8);
    EXPECT_EQ(fitted.pixelColor(50, 17).alpha(), 255);
    EXPECT_EQ(fitted.pixelColor(50, 82).alpha(), 255);
    EXPECT_NEAR(fitted.pixelColor(50, 83).alpha(), 128, 8);
    EXPECT_EQ(fitted.pixelColor(50, 84).alpha(), 0);
}

TEST_F(DrawingTest, APictureIsAveragedWhenItShrinks) {
    const QImage stripes =
        painted(512, 512, [](int x, int) { return x % 2 == 0 ? Qt::black : Qt::white; });
    const QImage small = pixels(*thumbnailImage(world.platform, imageOf(stripes), 16));
    for (int x = 0; x < 16; ++x) {
        EXPECT_NEAR(small.pixelColor(x, 8).red(), 128, 4) << x;
    }
}

TEST_F(DrawingTest, OperationsAndOpacityMeetWhatIsThere) {
    const auto focused = images.lockFocus({3, 1});
    const Image red = imageOf(plain(1, 1, Qt::red));
    const Image clear = imageOf(plain(1, 1, QColor(0, 0, 0, 0)));
    const Rect whole{{0, 0}, {1, 1}};
    focused->drawImage(red, {{0, 0}, {1, 1}}, whole, NSCompositeSourceOver, 0.5);
    focused->drawImage(red, {{1, 0}, {2, 1}}, whole, NSCompositeSourceOver, 1);
    focused->drawImage(clear, {{1, 0}, {1, 1}}, whole, NSCompositeCopy, 1);
    focused->drawImage(clear, {{2, 0}, {1, 1}}, whole, NSCompositeSourceOver, 1);
    focused->drawImage(Image{}, {{2, 0}, {1, 1}}, whole, NSCompositeCopy, 1);
    const QImage drawn = pixels(focused->unlockFocus());
    EXPECT_NEAR(drawn.pixelColor(0, 0).alpha(), 128, 2);
    EXPECT_EQ(drawn.pixelColor(1, 0).alpha(), 0);
    EXPECT_EQ(drawn.pixelColor(2, 0), QColor(Qt::red));
}

TEST_F(DrawingTest, APartOfAPictureIsCountedFromItsLowerLeft) {
    const QImage picture =
        painted(2, 2, [](int x, int y) { return x == 0 && y == 1 ? Qt::red : Qt::blue; });
    const auto focused = images.lockFocus({1, 1});
    focused->drawImage(imageOf(picture), {{0, 0}, {1, 1}}, {{0, 0}, {1, 1}}, NSCompositeCopy, 1);
    EXPECT_EQ(pixels(focused->unlockFocus()).pixelColor(0, 0), QColor(Qt::red));
}

TEST_F(DrawingTest, AGrabReachesOutsideWithTransparentPixels) {
    const auto focused = images.lockFocus({4, 4});
    focused->drawImage(imageOf(plain(4, 4, Qt::red)), {{0, 0}, {4, 4}}, {{0, 0}, {4, 4}},
                       NSCompositeCopy, 1);
    const auto grabbed = focused->bitmapWithFocusedViewRect({{-2, -3}, {8, 8}});
    ASSERT_TRUE(grabbed);
    EXPECT_EQ(images.size(*grabbed), (Size{8, 8}));
    const QImage drawn = pixels(*grabbed);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            // Three rows below the picture and one above it.
            const bool isInside = x >= 2 && x < 6 && y >= 1 && y < 5;
            EXPECT_EQ(drawn.pixelColor(x, y).alpha(), isInside ? 255 : 0) << x << " " << y;
        }
    }
}

TEST_F(DrawingTest, AnImageWithoutAnAreaCannotBeMade) {
    for (const Size size : {Size{0, 5}, Size{5, -1}, Size{std::nan(""), 5}, Size{INFINITY, 5}}) {
        EXPECT_EQ(images.lockFocus(size), nullptr);
    }
    const auto focused = images.lockFocus({4, 4});
    EXPECT_EQ(focused->bitmapWithFocusedViewRect({{0, 0}, {0, 4}}), std::nullopt);
    EXPECT_EQ(focused->bitmapWithFocusedViewRect({{0, 0}, {1e9, 1e9}}), std::nullopt);
}

TEST_F(DrawingTest, ANewImageOfAnySizeIsHeldWithinTheBudget) {
    const auto focused = images.lockFocus({12'000, 9'000});
    focused->drawImage(imageOf(plain(2, 2, Qt::red)), {{6'000, 0}, {6'000, 9'000}},
                       {{0, 0}, {2, 2}}, NSCompositeCopy, 1);
    const Image image = focused->unlockFocus();
    EXPECT_EQ(images.size(image), (Size{12'000, 9'000}));
    const QImage drawn = pixels(image);
    EXPECT_LE(1.0 * drawn.width() * drawn.height(), Imaging::kMostPixelsKept);
    EXPECT_EQ(drawn.pixelColor(drawn.width() / 4, 10).alpha(), 0);
    EXPECT_EQ(drawn.pixelColor(3 * drawn.width() / 4, 10), QColor(Qt::red));
}

}  // namespace
}  // namespace quillbox::desktop
