// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/Images.h"

#include "Linux/Desktop/ImageDecoding.h"
#include "Linux/Desktop/ImageDrawing.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageWriter>

#include <algorithm>
#include <cmath>

namespace quillbox::desktop {

namespace {

/// An image that only names its resource, with the content of that resource.
Image withContent(const Imaging& imaging, const Image& image) {
    if (image.content != nullptr || image.resourceName.empty()) {
        return image;
    }
    return imaging.imageNamed(image.resourceName).value_or(image);
}

std::optional<Image> imageOf(std::shared_ptr<const Picture> picture) {
    return picture != nullptr ? std::optional(Image{{}, std::move(picture)}) : std::nullopt;
}

std::optional<PropertyData> encoded(const QImage& pixels, const char* format, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    if (!writer.write(pixels)) {
        return std::nullopt;
    }
    return PropertyData(bytes.begin(), bytes.end());
}

}  // namespace

std::optional<Image> Images::imageWithData(const PropertyData& data) const {
    return imageOf(decodedPicture(QByteArray::fromRawData(
        reinterpret_cast<const char*>(data.data()), static_cast<qsizetype>(data.size()))));
}

std::optional<Image> Images::imageWithContentsOfFile(const std::string& path) const {
    QFile file(QFile::decodeName(QByteArray::fromStdString(path)));
    if (!QFileInfo(file).isFile() || file.size() > kLongestFile ||
        !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return imageOf(decodedPicture(file.read(kLongestFile)));
}

std::optional<Image> Images::imageNamed(const std::string& name) const {
    const auto path = bundle_.pathForResource(name, "png");
    auto image = path ? imageWithContentsOfFile(*path) : std::nullopt;
    if (image) {
        image->resourceName = name;
    }
    return image;
}

bool Images::isValid(const Image& image) const {
    return pictureOf(withContent(*this, image)) != nullptr;
}

Size Images::size(const Image& image) const {
    const Image resolved = withContent(*this, image);
    const Picture* picture = pictureOf(resolved);
    return picture != nullptr ? picture->size() : Size{};
}

std::unique_ptr<FocusedImage> Images::lockFocus(const Size& size) const {
    return PaintedImage::make(size,
                              [this](const Image& image) { return withContent(*this, image); });
}

std::optional<PropertyData> Images::JPEGRepresentation(const Image& image,
                                                       float compressionFactor) const {
    const Image resolved = withContent(*this, image);
    const Picture* picture = pictureOf(resolved);
    if (picture == nullptr) {
        return std::nullopt;
    }
    QImage opaque(picture->pixels().size(), QImage::Format_RGB32);
    if (opaque.isNull()) {
        return std::nullopt;
    }
    opaque.fill(Qt::black);
    QPainter painter(&opaque);
    painter.drawImage(0, 0, picture->pixels());
    painter.end();
    return encoded(opaque, "jpeg",
                   static_cast<int>(std::lround(std::clamp(compressionFactor, 0.0F, 1.0F) * 100)));
}

std::optional<PropertyData> Images::PNGRepresentation(const Image& image) const {
    const Image resolved = withContent(*this, image);
    const Picture* picture = pictureOf(resolved);
    constexpr int kUsual = -1;
    return picture != nullptr ? encoded(picture->pixels(), "png", kUsual) : std::nullopt;
}

}  // namespace quillbox::desktop
