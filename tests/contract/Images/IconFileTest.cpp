// SPDX-License-Identifier: GPL-3.0-or-later
#include "ImagesTesting.h"

#include <filesystem>
#include <fstream>

namespace quillbox::desktop {
namespace {

/// Icon files as an independent decoder reads them.
class IconFileTest : public ImagesTest {
protected:
    IconFileTest() {
        std::string path = std::filesystem::temp_directory_path() / "quillbox-icons-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) {
            std::abort();
        }
        folder = path;
    }

    ~IconFileTest() override { std::filesystem::remove_all(folder); }

    /// The one picture that the decoder finds in an icon file.
    QImage readBack(const PropertyData& data) {
        std::ofstream(folder / "icon.icns", std::ios::binary)
            .write(reinterpret_cast<const char*>(data.data()),
                   static_cast<std::streamsize>(data.size()));
        const std::string command = "icns2png -x -o '" + folder.string() + "' '" +
                                    (folder / "icon.icns").string() + "' > /dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        QImage found;
        for (const auto& each : std::filesystem::directory_iterator(folder)) {
            if (each.path().extension() == ".png") {
                EXPECT_TRUE(found.isNull()) << "more than one element";
                found.load(QString::fromStdString(each.path().string()));
                std::filesystem::remove(each.path());
            }
        }
        return found.convertToFormat(QImage::Format_ARGB32);
    }

    std::filesystem::path folder;
};

TEST_F(IconFileTest, EachWidthShowsThePictureLetterboxedPixelForPixel) {
    const QImage picture = painted(
        200, 100, [](int x, int y) { return QColor(x, 2 * y, 255 - x, x < 150 ? 255 : 128); });
    const Image image = imageOf(picture);
    for (const int width : {512, 256, 128}) {
        const auto data = icnsDataWithWidth(world.platform, image, width);
        ASSERT_TRUE(data);
        // The decoder at hand is older than the element of 128 pixels: its payload is read alone.
        const QImage icon =
            width > 128 ? readBack(*data)
                        : QImage::fromData(data->data() + 16, static_cast<int>(data->size() - 16))
                              .convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(icon.size(), QSize(width, width));
        const double edge = width;
        const QImage expected = pixels(imageToFitSize(world.platform, image, {edge, edge}));
        int furthest = 0;
        for (int y = 0; y < width; ++y) {
            for (int x = 0; x < width; ++x) {
                const QColor a = icon.pixelColor(x, y);
                const QColor b = expected.pixelColor(x, y);
                const int alpha = std::abs(a.alpha() - b.alpha());
                furthest = std::max({furthest, alpha, b.alpha() > 0 ? distance(a, b) : 0});
            }
        }
        EXPECT_LE(furthest, 2) << width;
        EXPECT_EQ(icon.pixelColor(width / 2, width / 4 - 1).alpha(), 0);
        EXPECT_EQ(icon.pixelColor(width / 2, width / 4).alpha(), 255);
    }
}

TEST_F(IconFileTest, AnApplicationsRoundedPictureIsAnIcon) {
    const auto rounded = roundedCornersImage(world.platform, imageOf(plain(512, 512, Qt::red)), 85);
    const auto data = icnsDataWithWidth(world.platform, *rounded, 512);
    ASSERT_TRUE(data);
    const QImage icon = readBack(*data);
    EXPECT_EQ(icon.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(icon.pixelColor(511, 511).alpha(), 0);
    EXPECT_EQ(icon.pixelColor(256, 256), QColor(Qt::red));
}

}  // namespace
}  // namespace quillbox::desktop
