// SPDX-License-Identifier: GPL-3.0-or-later
#include "SampleContent.h"

#include "Pictures.h"
#include "PropertyList.h"
#include "UniqueFd.h"

#include <fcntl.h>

#include <array>
#include <fstream>
#include <stdexcept>

namespace quillbox::simulator {
namespace {

using std::filesystem::path;

void write(const path& file, wire::ByteView content) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream{file, std::ios::binary};
    stream << wire::asText(content);
    if (!stream.flush()) {
        throw std::runtime_error{"cannot write " + file.string()};
    }
}

void write(const path& file, std::string_view content) {
    write(file, wire::asBytes(content));
}

void makeCameraRoll(const path& dcim) {
    const path folder = dcim / "100APPLE";
    constexpr unsigned kPictures = 6;
    for (unsigned number = 1; number <= kPictures; ++number) {
        const bool png = number == kPictures;
        std::string name = "IMG_000" + std::to_string(number) + (png ? ".PNG" : ".JPG");
        const Picture picture = landscape(number, 160, 120);
        write(folder / name, png ? encodePng(picture) : encodeJpeg(picture));
        name = "IMG_000" + std::to_string(number) + ".THM";
        write(folder / ".MISC" / name, encodeJpeg(landscape(number, 40, 30)));
    }
    const PropertyList info =
        PropertyList::dictionary().setNumber("LastFileGroupNumber-100", kPictures);
    write(dcim / ".MISC" / "Info.plist", info.toXml());
}

void makeOddNames(const path& folder) {
    const std::array<std::string, 18> names{
        "e\xCC\x81t\xC3\xA9 combined and composed.txt",
        "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D.txt",
        "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7.txt",
        "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E.txt",
        "\xED\x95\x9C\xEA\xB8\x80.txt",
        "\xE0\xA4\xB9\xE0\xA4\xBF\xE0\xA4\xA8\xE0\xA5\x8D\xE0\xA4\xA6\xE0\xA5\x80.txt",
        "\xF0\x9F\x93\xB7\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x9A\x80.txt",
        " leading blank.txt",
        "trailing blank ",
        "back\\slash.txt",
        "line\nfeed.txt",
        "colon:name.txt",
        "quote\"and'apostrophe.txt",
        "percent%40name.txt",
        "-begins with a hyphen.txt",
        ".hidden",
        "...",
        std::string(251, 'n') + ".txt"};
    for (const std::string& name : names) {
        write(folder / name, "The name of this file is odd.\n");
    }
    // The longest name in bytes whose characters take three bytes each.
    std::string wide;
    for (int i = 0; i < 85; ++i) {
        wide += "\xE3\x81\x82";
    }
    write(folder / wide, "Eighty-five characters, 255 bytes.\n");
}

void makeHugeFile(const path& file) {
    const UniqueFd fd{::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)};
    constexpr off_t kSize = (off_t{4} << 30) + 4096;
    constexpr std::string_view kStart = "beginning of a huge file\n";
    constexpr std::string_view kEnd = "end of a huge file\n";
    const auto put = [&](std::string_view text, off_t at) {
        return ::pwrite(fd.get(), text.data(), text.size(), at) ==
               static_cast<ssize_t>(text.size());
    };
    if (!fd || ::ftruncate(fd.get(), kSize) != 0 || !put(kStart, 0) ||
        !put(kEnd, kSize - static_cast<off_t>(kEnd.size()))) {
        throw std::runtime_error{"cannot write " + file.string()};
    }
}

void makeLinks(const path& folder) {
    write(folder / "target.txt", "Reached through a link.\n");
    const std::array<std::pair<const char*, const char*>, 4> links{{{"target.txt", "relative"},
                                                                    {"../Documents", "folder"},
                                                                    {"nowhere/at/all", "dangling"},
                                                                    {"loop", "loop"}}};
    for (const auto& [target, name] : links) {
        std::filesystem::create_symlink(target, folder / name);
    }
}

}  // namespace

void makeSampleMedia(const path& media) {
    makeCameraRoll(media / "DCIM");
    write(media / "Documents" / "Read me.txt", "A document on a simulated device.\n");
    write(media / "Documents" / "empty.txt", "");
    std::string table = "number;square\n";
    for (int i = 1; i <= 5000; ++i) {
        table += std::to_string(i) + ';' + std::to_string(i * i) + '\n';
    }
    write(media / "Documents" / "Squares.csv", table);
    path nested = media / "Nested";
    for (int depth = 1; depth <= 12; ++depth) {
        nested /= "level " + std::to_string(depth);
        write(nested / "note.txt", "Depth " + std::to_string(depth) + ".\n");
    }
    std::filesystem::create_directories(media / "Empty folder");
    std::filesystem::create_directories(media / "Downloads");
    makeOddNames(media / "Odd names");
    makeLinks(media / "Links");
    makeHugeFile(media / "Huge sparse file.bin");
}

void installSampleApplications(Applications& applications) {
    const auto user = [&](const char* identifier, std::optional<std::string> displayName,
                          std::optional<std::string> iconFile, std::optional<bool> sharing) {
        Application application;
        application.identifier = identifier;
        application.displayName = std::move(displayName);
        application.iconFile = std::move(iconFile);
        application.fileSharing = sharing;
        return application;
    };
    applications.install(user("org.example.sketches", "Sketches", "Icon.png", true));
    applications.install(user("org.example.ledger", "Ledger", "AppIcon", false));
    applications.install(user("org.example.atlas", "atlas", std::nullopt, true));
    applications.install(user("org.example.atlas.pro", "Atlas", "AppIcon60x60", true));
    applications.install(user("org.example.nameless", std::nullopt, "Icon.png", true));
    applications.install(user("org.example.silent", "Silent", std::nullopt, std::nullopt));
    Application workbench = user("org.example.workbench", "Workbench", "Icon.png", false);
    workbench.developerSigned = true;
    workbench.homeScreenPicture = false;
    applications.install(std::move(workbench));
    for (const auto& [identifier, name] : {std::pair{"com.apple.mobileslideshow", "Photos"},
                                           {"com.apple.Preferences", "Settings"},
                                           {"com.apple.camera", "Camera"}}) {
        Application system = user(identifier, name, "AppIcon", std::nullopt);
        system.type = "System";
        applications.install(std::move(system));
    }
    constexpr unsigned kArtworkSize = 128;
    for (const char* identifier : {"org.example.sketches", "org.example.ledger"}) {
        write(applications.container(identifier) / "iTunesArtwork",
              encodePng(applicationPicture(identifier, kArtworkSize)));
    }
    write(applications.container("org.example.sketches") / "Documents" / "First sketch.png",
          encodePng(landscape(42, 96, 72)));
    write(applications.container("org.example.atlas") / "Documents" / "Places.txt",
          "Here\nThere\n");
    write(applications.container("org.example.ledger") / "Library" / "Preferences" / "state.txt",
          "balanced\n");
}

void makeRootFolders(const path& root) {
    for (const char* folder : {"private/var/mobile/Media", "private/var/mobile/Library",
                               "private/var/root", "private/etc", "private/var/tmp", "Applications",
                               "Library", "System/Library", "usr/lib"}) {
        std::filesystem::create_directories(root / folder);
    }
    for (const auto& [target, name] :
         {std::pair{"private/var", "var"}, {"private/etc", "etc"}, {"private/var/tmp", "tmp"}}) {
        if (!std::filesystem::is_symlink(root / name)) {
            std::filesystem::create_symlink(target, root / name);
        }
    }
    if (!std::filesystem::exists(root / "private/etc/hosts")) {
        write(root / "private/etc/hosts", "127.0.0.1 localhost\n");
    }
}

}  // namespace quillbox::simulator
