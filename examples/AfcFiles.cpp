// SPDX-License-Identifier: GPL-3.0-or-later
//
// Lists and fetches files of an attached device through the object layer over AFC.

#include "AttachedDevice.h"
#include "Core/AFC/NSException.h"
#include "Linux/Host/SystemLog.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <iostream>

namespace {

using namespace quillbox;
using namespace quillbox::examples;

constexpr const char* kUsage =
    "Usage: quillbox-afc-files [--device SERIAL] [--wait SECONDS] COMMAND\n"
    "Works on the media area of an attached device, without a mount.\n"
    "\n"
    "  identify          print the device's serial number, model number and number\n"
    "  list PATH         print the folders and files in a folder, files with their sizes\n"
    "  fetch PATH FILE   copy a file of the device into FILE\n"
    "\n"
    "  --device SERIAL   the device with this serial number, not the first one\n"
    "  --wait SECONDS    how long to wait for it (10)\n"
    "  --help            print this text and end\n"
    "\n"
    "Exit status: 0 done; 1 could not be done; 2 the command line is wrong.\n";

std::uint64_t sizeOf(const AFCInterface& files, const std::string& path) {
    const auto attributes = files.getAttributesAtPath(path);
    std::uint64_t size = 0;
    if (attributes && attributes->contains("st_size")) {
        const auto& text = attributes->at("st_size");
        std::from_chars(text.data(), text.data() + text.size(), size);
    }
    return size;
}

int identify(const AFCDevice& device) {
    const auto& ref = *device.device();
    std::cout << "serial number: " << host::escapedForLog(ref.serialNumber().value_or(""))
              << "\nmodel number: " << ref.productID() << "\nnumber: " << ref.deviceID() << "\n";
    return kDone;
}

int list(const AFCDevice& device, const std::string& path) {
    try {
        auto folders = device.listOfFoldersAtPath(path);
        auto files = device.listOfFilesAtPath(path);
        std::sort(folders.begin(), folders.end());
        std::sort(files.begin(), files.end());
        for (const auto& name : folders) {
            std::cout << host::escapedForLog(name) << "/\n";
        }
        for (const auto& name : files) {
            std::cout << host::escapedForLog(name) << "  "
                      << sizeOf(*device.deviceInterface(), std::string(path).append("/") + name)
                      << "\n";
        }
    } catch (const NSException&) {
        return complain("there is no folder " + path + " on the device");
    }
    return kDone;
}

/// Copies in stretches: each that comes short, because a read failed, is noticed.
bool copy(const AFCDevice& device, const std::string& path, std::uint64_t size,
          std::ofstream& out) {
    constexpr std::uint64_t kStretch = 4 * kAFCChunkSize;
    for (std::uint64_t at = 0; at < size && out; at += kStretch) {
        const std::uint64_t length = std::min(kStretch, size - at);
        const auto data = device.chunkOfFileAtPath(path, {at, length});
        if (!data || data->size() != length) {
            return false;
        }
        out.write(reinterpret_cast<const char*>(data->data()),
                  static_cast<std::streamsize>(data->size()));
    }
    out.close();
    return !out.fail();
}

int fetch(const AFCDevice& device, const std::string& path, const std::string& file) {
    const auto& files = *device.deviceInterface();
    if (!files.isFileAtPath(path)) {
        return complain("there is no file " + path + " on the device");
    }
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!out) {
        return complain("the file " + file + " cannot be written");
    }
    if (!copy(device, path, sizeOf(files, path), out)) {
        std::remove(file.c_str());
        return complain("the file " + path + " could not be copied whole");
    }
    return kDone;
}

int run(std::vector<std::string>& words) {
    const auto choice = takeDeviceOptions(words);
    if (!choice) {
        return kBadUsage;
    }
    const auto is = [&words](const char* command, std::size_t arguments) {
        return !words.empty() && words.front() == command && words.size() == arguments + 1;
    };
    if (!is("identify", 0) && !is("list", 1) && !is("fetch", 2)) {
        return complain("identify, list PATH or fetch PATH FILE is needed; see --help", kBadUsage);
    }
    return withDevice(*choice, [&](const std::shared_ptr<AFCDevice>& device) {
        if (words.front() == "identify") {
            return identify(*device);
        }
        return words.front() == "list" ? list(*device, words.at(1))
                                       : fetch(*device, words.at(1), words.at(2));
    });
}

}  // namespace

int main(int argc, char** argv) {
    return withWords(argc, argv, kUsage, run);
}
