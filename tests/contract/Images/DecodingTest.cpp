// SPDX-License-Identifier: GPL-3.0-or-later
#include "ImagesTesting.h"

#include <sys/resource.h>

#include <QColorSpace>

#include <filesystem>
#include <fstream>

namespace quillbox::desktop {

namespace {

/// Bits of an entropy-coded segment, with the format's escape behind a byte of ones.
class BitWriter {
public:
    explicit BitWriter(PropertyData& out) : out_(out) {}

    void put(unsigned bits, unsigned count) {
        for (unsigned i = count; i-- > 0;) {
            byte_ = byte_ << 1U | (bits >> i & 1U);
            if (++filled_ == 8) {
                out_.push_back(static_cast<std::uint8_t>(byte_));
                if (byte_ == 0xFF) {
                    out_.push_back(0);
                }
                byte_ = 0;
                filled_ = 0;
            }
        }
    }

    void end() {
        while (filled_ != 0) {
            put(1, 1);
        }
    }

private:
    PropertyData& out_;
    unsigned byte_ = 0;
    unsigned filled_ = 0;
};

void append(PropertyData& out, std::initializer_list<int> bytes) {
    for (const int each : bytes) {
        out.push_back(static_cast<std::uint8_t>(each));
    }
}

}  // namespace

PropertyData blockJpeg(int width, int height, bool isProgressive,
                       const std::function<int(int, int)>& levelOfBlock) {
    PropertyData out;
    append(out, {0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0});
    out.insert(out.end(), 64, 8);  // so that a block's first coefficient is its level itself
    append(out, {0xFF, isProgressive ? 0xC2 : 0xC0, 0, 11, 8, height >> 8, height & 255, width >> 8,
                 width & 255, 1, 1, 0x11, 0});
    // First coefficients: the lengths 0 to 8, four bits each. Others: the end of the block, one
    // bit.
    append(out, {0xFF, 0xC4, 0, 28, 0, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0,
                 0,    0,    0, 0,  0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8});
    append(out, {0xFF, 0xC4, 0, 20, 0x10, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    append(out, {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, isProgressive ? 0 : 63, 0});
    BitWriter bits(out);
    int last = 0;
    for (int y = 0; y < (height + 7) / 8; ++y) {
        for (int x = 0; x < (width + 7) / 8; ++x) {
            const int level = levelOfBlock(x, y) - 128;
            const int step = level - last;
            last = level;
            unsigned length = 0;
            while (std::abs(step) >> length != 0) {
                ++length;
            }
            bits.put(length, 4);
            bits.put(static_cast<unsigned>(step < 0 ? step - 1 : step), length);
            if (!isProgressive) {
                bits.put(0, 1);
            }
        }
    }
    bits.end();
    append(out, {0xFF, 0xD9});
    return out;
}

namespace {

class DecodingTest : public ImagesTest {
protected:
    std::optional<Image> decoded(const std::string& bytes) {
        return images.imageWithData({bytes.begin(), bytes.end()});
    }
};

TEST_F(DecodingTest, TheUsualFormatsAreToldByTheirFirstBytes) {
    for (const auto* format : {"png", "jpeg", "bmp"}) {
        const auto image = images.imageWithData(encoded(plain(30, 20, Qt::red), format));
        ASSERT_TRUE(image) << format;
        EXPECT_EQ(images.size(*image), (Size{30, 20})) << format;
        EXPECT_LT(distance(pixels(*image).pixelColor(15, 10), Qt::red), 8) << format;
    }
    constexpr std::string_view kGif(
        "GIF89a\x01\0\x01\0\x80\0\0\xFF\0\0\0\0\0,\0\0\0\0\x01\0\x01\0\0"
        "\x02\x02\x44\x01\0;",
        35);
    const auto gif = decoded(std::string(kGif));
    ASSERT_TRUE(gif);
    EXPECT_EQ(pixels(*gif).pixelColor(0, 0), QColor(Qt::red));
}

TEST_F(DecodingTest, AnythingElseIsNoPicture) {
    EXPECT_EQ(decoded(""), std::nullopt);
    EXPECT_EQ(decoded("no picture"), std::nullopt);
    EXPECT_EQ(decoded("/* XPM */ static char*x[]={\"1 1 1 1\",\"a c red\",\"a\"};"), std::nullopt);
    EXPECT_EQ(decoded("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>"),
              std::nullopt);
    EXPECT_EQ(decoded("\xFF\xD8\xFF"), std::nullopt);
    EXPECT_EQ(decoded("\x89PNG\r\n\x1A\n"), std::nullopt);
}

TEST_F(DecodingTest, EveryShortenedPictureIsTakenWithoutHarm) {
    for (const auto* format : {"png", "jpeg", "bmp"}) {
        const auto whole = encoded(plain(64, 64, Qt::red), format);
        for (std::size_t length = 0; length < whole.size(); length += 1 + whole.size() / 200) {
            const PropertyData part(whole.begin(),
                                    whole.begin() + static_cast<std::ptrdiff_t>(length));
            const auto image = images.imageWithData(part);
            if (image) {
                EXPECT_EQ(images.size(*image), (Size{64, 64}));
            }
        }
    }
}

TEST_F(DecodingTest, EverySpoiltPictureIsTakenWithoutHarm) {
    for (const auto* format : {"png", "jpeg", "bmp"}) {
        const auto whole = encoded(plain(48, 48, Qt::blue), format);
        for (std::size_t at = 0; at < whole.size(); at += 1 + whole.size() / 300) {
            PropertyData spoilt = whole;
            spoilt[at] = static_cast<std::uint8_t>(spoilt[at] ^ 0xA5U);
            if (const auto image = images.imageWithData(spoilt)) {
                EXPECT_TRUE(images.isValid(*image));
            }
        }
    }
}

TEST_F(DecodingTest, AHugePictureKeepsItsSizeAndIsHeldWithinTheBudget) {
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    const auto image =
        images.imageWithData(blockJpeg(12'000, 9'000, false, [](int, int) { return 90; }));
    ASSERT_TRUE(image);
    EXPECT_EQ(images.size(*image), (Size{12'000, 9'000}));
    const QImage held = pixels(*image);
    EXPECT_LE(1.0 * held.width() * held.height(), Imaging::kMostPixelsKept);
    EXPECT_NEAR(held.pixelColor(held.width() / 2, held.height() / 2).red(), 90, 2);
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    constexpr long kKilobytes = 160L * 1024;  // whole it would take 412 MiB
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, kKilobytes);
}

TEST_F(DecodingTest, AProgressivePictureDecodesUpToItsLimit) {
    const auto grey = [](int, int) { return 200; };
    const auto image = images.imageWithData(blockJpeg(640, 480, true, grey));
    ASSERT_TRUE(image);
    EXPECT_NEAR(pixels(*image).pixelColor(320, 240).red(), 200, 2);
    // Its coefficients alone would take 288,000,000 bytes.
    EXPECT_EQ(images.imageWithData(blockJpeg(12'000, 12'000, true, grey)), std::nullopt);
}

TEST_F(DecodingTest, APictureOfTooManyPixelsIsRefusedBeforeItIsRead) {
    // Only the header tells of 60,000 by 60,000 pixels.
    auto picture = encoded(plain(8, 8, Qt::red), "png");
    for (const std::size_t at : {16U, 20U}) {
        picture[at + 2] = 60'000 >> 8;
        picture[at + 3] = 60'000 & 255;
    }
    EXPECT_EQ(images.imageWithData(picture), std::nullopt);
}

TEST_F(DecodingTest, EmbeddedColoursBecomeStandardOnes) {
    QImage picture = plain(4, 4, QColor(200, 100, 50)).convertToFormat(QImage::Format_RGB32);
    picture.setColorSpace(QColorSpace(QColorSpace::DisplayP3));
    const auto image = images.imageWithData(encoded(picture, "png"));
    ASSERT_TRUE(image);
    picture.convertToColorSpace(QColorSpace::SRgb);
    EXPECT_LE(distance(pixels(*image).pixelColor(1, 1), picture.pixelColor(1, 1)), 2);
    EXPECT_GT(distance(picture.pixelColor(1, 1), QColor(200, 100, 50)), 4);
}

class FilesTest : public DecodingTest {
protected:
    FilesTest() {
        std::string path = std::filesystem::temp_directory_path() / "quillbox-images-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) {
            std::abort();
        }
        folder = path;
    }

    ~FilesTest() override { std::filesystem::remove_all(folder); }

    std::string write(const std::string& name, const PropertyData& data) const {
        std::ofstream(folder / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(data.data()),
                   static_cast<std::streamsize>(data.size()));
        return folder / name;
    }

    std::filesystem::path folder;
};

TEST_F(FilesTest, AFileIsDecodedByItsContentAlone) {
    const auto path = write("iTunesArtwork.png", encoded(plain(9, 7, Qt::red), "jpeg"));
    const auto image = images.imageWithContentsOfFile(path);
    ASSERT_TRUE(image);
    EXPECT_EQ(images.size(*image), (Size{9, 7}));
    EXPECT_EQ(images.imageWithContentsOfFile(write("empty", {})), std::nullopt);
    EXPECT_EQ(images.imageWithContentsOfFile(folder / "missing"), std::nullopt);
    EXPECT_EQ(images.imageWithContentsOfFile(folder), std::nullopt);
}

class OneFolder final : public Bundle {
public:
    explicit OneFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}

    std::string bundlePath() const override { return {}; }

    std::optional<std::string> pathForResource(const std::string& name,
                                               const std::string& type) const override {
        return folder_ / (name + "." + type);
    }

    std::optional<std::string> objectForInfoDictionaryKey(std::string_view) const override {
        return std::nullopt;
    }

    std::string operatingSystemVersionString() const override { return {}; }

private:
    std::filesystem::path folder_;
};

TEST_F(FilesTest, ANamedImageIsAResourceOfTheProgram) {
    write("Folder.png", encoded(plain(32, 32, Qt::red), "png"));
    const OneFolder resources(folder);
    const Images named(resources);
    const auto image = named.imageNamed("Folder");
    ASSERT_TRUE(image);
    EXPECT_EQ(image->resourceName, "Folder");
    EXPECT_EQ(named.imageNamed("Missing"), std::nullopt);
    EXPECT_TRUE(named.isValid(Image{"Folder", {}}));
    EXPECT_FALSE(named.isValid(Image{"Missing", {}}));
    EXPECT_EQ(named.size(Image{"Folder", {}}), (Size{32, 32}));
    const auto focused = named.lockFocus({8, 8});
    focused->drawImage(Image{"Folder", {}}, {{0, 0}, {8, 8}}, {{0, 0}, {32, 32}}, NSCompositeCopy,
                       1);
    EXPECT_EQ(pixels(focused->unlockFocus()).pixelColor(4, 4), QColor(Qt::red));
}

}  // namespace
}  // namespace quillbox::desktop
