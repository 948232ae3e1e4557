// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/ImageDecoding.h"

#include "Core/Platform/Imaging.h"
#include "Linux/Desktop/JpegHeader.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>

namespace quillbox::desktop {

namespace {

/// The formats are told by their first bytes, never by a name: the data comes from a device, and
/// the library knows formats that nobody needs here.
const char* formatOf(const QByteArray& data) {
    if (data.startsWith("\xFF\xD8\xFF")) {
        return "jpeg";
    }
    if (data.startsWith("\x89PNG\r\n\x1A\n")) {
        return "png";
    }
    if (data.startsWith("GIF8")) {
        return "gif";
    }
    return data.startsWith("BM") ? "bmp" : nullptr;
}

/// A progressive picture is held as coefficients of two bytes, and its blocks are filled up.
bool fitsWhileDecoding(const QByteArray& data, const char* format, const QSize& size) {
    if (qstrcmp(format, "jpeg") != 0) {
        return true;  // the library's own limit for whole pictures
    }
    const auto frame = jpegFrame({reinterpret_cast<const std::uint8_t*>(data.constData()),
                                  static_cast<std::size_t>(data.size())});
    constexpr double kBytesACoefficient = 2;
    return !frame.isProgressive || kBytesACoefficient * frame.components * size.width() *
                                           static_cast<double>(size.height()) <=
                                       kMostBytesDecoding;
}

QImage inOurFormat(QImage image) {
    image = std::move(image).convertToFormat(
        image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    const QColorSpace standard(QColorSpace::SRgb);
    if (image.colorSpace().isValid() && image.colorSpace() != standard) {
        image.convertToColorSpace(standard);
    }
    return image;
}

}  // namespace

std::shared_ptr<const Picture> decodedPicture(const QByteArray& data) {
    const char* format = formatOf(data);
    if (format == nullptr) {
        return nullptr;
    }
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize whole = reader.size();
    const Size size{static_cast<double>(whole.width()), static_cast<double>(whole.height())};
    if (whole.isEmpty() || size.width * size.height > kMostPixelsDecoded ||
        !fitsWhileDecoding(data, format, whole)) {
        return nullptr;
    }
    const QSize kept = pixelsWithin(size, Imaging::kMostPixelsKept);
    if (kept != whole) {
        reader.setScaledSize(kept);
    }
    QImage image;
    if (!reader.read(&image) || image.isNull()) {
        return nullptr;
    }
    image = inOurFormat(std::move(image));
    return image.isNull() ? nullptr : std::make_shared<Picture>(std::move(image), size);
}

}  // namespace quillbox::desktop
