// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Images/NSImage+IconData.h"
#include "Core/Platform/PathText.h"
#include "Core/Session/PictureNames.h"
#include "Core/Session/PodPhone.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

namespace quillbox {

namespace {

constexpr const char* kCameraRoll = "/DCIM";
constexpr const char* kBookkeeping = "/DCIM/.MISC/Info.plist";
constexpr const char* kThumbnails = ".MISC";
/// Fixed names in a folder that all users share: see `HostFiles`.
constexpr const char* kLocalBookkeeping = "/tmp/Quillbox_DCIM_tempInfo.plist";
constexpr const char* kLocalThumbnail = "/tmp/Quillbox_DCIM_tempIcon.THM";
constexpr std::string_view kFolderWord = "APPLE";

constexpr std::int32_t kThumbnailEdge = 75;
constexpr float kThumbnailQuality = 1.0F;
/// A folder takes no more renamed pictures.
constexpr std::uint32_t kMostNumbers = 99;

std::string numberedName(std::uint32_t number, const char* extension) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "IMG_%04d.%s", static_cast<std::int32_t>(number),
                  extension);
    return name.data();
}

std::int32_t intValue(std::string_view text) {
    constexpr std::int64_t kMin = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(decimalValue(text), kMin, kMax));
}

}  // namespace

bool PodPhone::isPictureType(const std::string& path) {
    const std::string name = lowercased(path);
    constexpr std::array<std::string_view, 7> kSuffixes{"jpg", "jpeg", "gif", "thm",
                                                        "bmp", "tiff", "png"};
    return std::any_of(kSuffixes.begin(), kSuffixes.end(),
                       [&name](std::string_view suffix) { return name.ends_with(suffix); });
}

std::optional<std::string> PodPhone::pathToChange(const std::string& path, std::int32_t folderNum) {
    return pathToChange(myConnection_, path, folderNum);
}

std::optional<std::string> PodPhone::pathToChange(AFCConnectionRef connection,
                                                  const std::string& path, std::int32_t folderNum) {
    const std::uint32_t base = static_cast<std::uint32_t>(folderNum) * 1000U - 100000U;
    const std::string folder = stringByDeletingLastPathComponent(path);
    for (std::uint32_t k = 1; k <= kMostNumbers; ++k) {
        const auto named = [&](const char* extension) {
            return stringByAppendingPathComponent(folder, numberedName(base + k, extension));
        };
        const std::string png = named("PNG");
        const std::string jpeg = named("JPG");
        if (fileExists(connection, png) || fileExists(connection, jpeg)) {
            continue;
        }
        if (isJpegName(path)) {
            return jpeg;
        }
        if (isPngName(path)) {
            return png;
        }
    }
    return std::nullopt;
}

std::optional<std::int32_t> PodPhone::cameraRollFolder(AFCConnectionRef connection,
                                                       const std::string& path) {
    const std::string folder = stringByDeletingLastPathComponent(path);
    // Reading a file that is not there would make it.
    if (!isCameraRollPicture(path) || stringByDeletingLastPathComponent(folder) != kCameraRoll ||
        !fileExists(connection, kBookkeeping)) {
        return std::nullopt;
    }
    const auto bookkeeping = readDataOfFile(connection, kBookkeeping);
    if (!bookkeeping || !platform_.files.writeDataAtomically(kLocalBookkeeping, *bookkeeping)) {
        return std::nullopt;
    }
    const auto groups = platform_.files.dictionaryWithContentsOfFile(kLocalBookkeeping);
    std::string number = lastPathComponent(folder);
    const auto word = number.find(kFolderWord);
    if (!groups || word == std::string::npos) {
        return std::nullopt;
    }
    number.erase(word, kFolderWord.size());
    return groups->contains("LastFileGroupNumber-" + number) ? std::optional(intValue(number))
                                                             : std::nullopt;
}

bool PodPhone::createThumbnailForDCIM(const std::string& path) {
    const AFCConnectionRef connection = myConnection_;
    const auto folderNumber = cameraRollFolder(connection, path);
    const auto newPath =
        folderNumber ? pathToChange(connection, path, *folderNumber) : std::nullopt;
    if (!newPath || platform_.afc.AFCRenamePath(connection, path, *newPath) != kAFCSuccess) {
        return false;
    }
    makeCameraRollThumbnail(connection, *newPath);
    return true;
}

void PodPhone::makeCameraRollThumbnail(AFCConnectionRef connection, const std::string& path) {
    const std::string name = stringByDeletingPathExtension(lastPathComponent(path)) + ".THM";
    const std::string thumbnail = stringByAppendingPathComponent(
        stringByAppendingPathComponent(stringByDeletingLastPathComponent(path), kThumbnails), name);
    const auto picture = readDataOfFile(connection, path);
    // A picture that does not decode leaves the thumbnail of the one before it in place.
    scaleAndSaveAsJPEG(platform_, picture.value_or(PropertyData()), kThumbnailEdge, kThumbnailEdge,
                       kThumbnailQuality, kLocalThumbnail);
    copyFileToIPhone(connection, kLocalThumbnail, thumbnail);
}

}  // namespace quillbox
