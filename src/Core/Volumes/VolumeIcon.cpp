// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Images/NSImage+IconData.h"
#include "Core/Platform/PathText.h"
#include "Core/Session/PodPhone.h"
#include "Core/Volumes/ApplicationPicture.h"
#include "Core/Volumes/iPodDevice.h"

namespace quillbox {

namespace {

constexpr double kCornerRadius = 85.0;
constexpr std::int32_t kIconWidth = 512;

/// Makes an icon file of the picture in the area that a session serves; its path, or none.
std::optional<std::string> makeApplicationIcon(const Platform& platform, PodPhone& session) {
    HostFiles& files = platform.files;
    const std::string folder = files.temporaryDirectory();
    const std::string picture = stringByAppendingPathComponent(folder, "iTunesArtwork.png");
    if (files.fileExistsAtPath(picture)) {
        files.removeItemAtPath(picture);
    }
    if (!session.copyFile(kApplicationPicturePath, picture)) {
        return std::nullopt;
    }
    const auto image = platform.images.imageWithContentsOfFile(picture);
    const auto rounded =
        image ? roundedCornersImage(platform, *image, kCornerRadius) : std::nullopt;
    const auto data = rounded ? icnsDataWithWidth(platform, *rounded, kIconWidth) : std::nullopt;
    if (!data) {
        return std::nullopt;
    }
    std::string icon = stringByAppendingPathComponent(folder, "iTunesArtwork.icns");
    if (files.fileExistsAtPath(icon)) {
        files.removeItemAtPath(icon);
    }
    return files.writeDataAtomically(icon, *data) ? std::optional(std::move(icon)) : std::nullopt;
}

}  // namespace

std::optional<std::string> iPodDevice::mountDiskIconPath() const {
    const auto session = iPhoneInterface();
    if (session && selectedRootTag() >= kRootTagApplication) {
        if (auto icon = makeApplicationIcon(platform_, *session)) {
            return icon;
        }
    }
    return platform_.bundle.pathForResource("QuillboxIcon", "icns");
}

}  // namespace quillbox
