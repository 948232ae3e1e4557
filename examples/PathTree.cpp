// SPDX-License-Identifier: GPL-3.0-or-later
//
// Prints a folder of this computer, or of an attached device, as a tree of path nodes.

#include "AttachedDevice.h"
#include "Core/AFC/NSException.h"
#include "Core/PathTree/PodPath.h"
#include "Core/Platform/PathText.h"
#include "Linux/Host/LocalFileManager.h"
#include "Linux/Host/SystemLog.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace {

using namespace quillbox;
using namespace quillbox::examples;

constexpr unsigned kDeepest = 64;

constexpr const char* kUsage =
    "Usage: quillbox-path-tree [--depth N] local FOLDER\n"
    "       quillbox-path-tree [--depth N] [--device SERIAL] [--wait SECONDS] device [PATH]\n"
    "Prints a folder of this computer, or of an attached device's media area, as a tree.\n"
    "\n"
    "  --depth N         at most N levels, 1 to 64 (64)\n"
    "  --device SERIAL   the device with this serial number, not the first one\n"
    "  --wait SECONDS    how long to wait for it (10)\n"
    "  --help            print this text and end\n"
    "\n"
    "Exit status: 0 done; 1 could not be done; 2 the command line is wrong.\n";

/// An item of a device, read through the object layer.
class DeviceItem final : public PodItem {
public:
    DeviceItem(std::shared_ptr<AFCInterface> files, std::string path, std::string name)
        : files_(std::move(files)), path_(std::move(path)), name_(std::move(name)) {}

    std::string fullPath() override { return path_; }

    std::string relativePath() override { return name_; }

    bool isDirectory() override { return text("st_ifmt") == "S_IFDIR"; }

    std::int64_t getFileSize() override { return decimalValue(text("st_size")); }

    std::optional<PropertyDate> nodeObjModDate() override {
        const auto nanoseconds = text("st_mtime");
        return nanoseconds.empty() ? std::nullopt
                                   : std::optional(PropertyDate(
                                         std::chrono::nanoseconds(decimalValue(nanoseconds))));
    }

    void refreshChildren() override {
        children_.clear();
        std::vector<std::string> names;
        try {
            names = files_->listFilesInPath(path_);
        } catch (const NSException&) {
            complain("the folder " + path_ + " could not be listed");
        }
        for (const auto& name : names) {
            if (!name.empty() && name != "." && name != "..") {
                children_.push_back(std::make_shared<DeviceItem>(
                    files_, stringByAppendingPathComponent(path_, name), name));
            }
        }
    }

    std::vector<std::shared_ptr<PodItem>> children() override { return children_; }

private:
    /// One value of the item, which is asked for once.
    std::string text(const std::string& key) {
        if (!attributes_) {
            attributes_ = files_->getAttributesAtPath(path_).value_or(AFCAttributes());
        }
        const auto found = attributes_->find(key);
        return found == attributes_->end() ? std::string() : found->second;
    }

    const std::shared_ptr<AFCInterface> files_;
    const std::string path_;
    const std::string name_;
    std::optional<AFCAttributes> attributes_;
    std::vector<std::shared_ptr<PodItem>> children_;
};

struct Counts {
    std::size_t folders = 0;
    std::size_t files = 0;
};

/// Whether the tree goes on below a node: a link of this computer may lead back up.
bool isLink(const PodPath& node) {
    std::error_code error;
    return !node.iPhoneItem() && std::filesystem::is_symlink(node.fullPath(), error);
}

// NOLINTNEXTLINE(misc-no-recursion): a tree; the depth is bounded
void printBelow(PodPath& node, unsigned depth, unsigned deepest, Counts& counts) {
    if (depth > deepest) {
        return;
    }
    auto children = node.children();
    std::sort(children.begin(), children.end(),
              [](const auto& a, const auto& b) { return a->name() < b->name(); });
    for (const auto& child : children) {
        std::cout << std::string(2U * depth, ' ') << host::escapedForLog(child->name());
        if (isLink(*child)) {
            ++counts.files;
            std::cout << "@\n";
        } else if (child->isDirectory()) {
            ++counts.folders;
            std::cout << "/\n";
            printBelow(*child, depth + 1, deepest, counts);
        } else {
            ++counts.files;
            std::cout << "  " << child->fileSize() << "\n";
        }
    }
}

int print(PodPath& top, unsigned deepest) {
    if (!top.isDirectory()) {
        return complain("there is no folder " + top.fullPath());
    }
    Counts counts;
    std::cout << host::escapedForLog(top.fullPath()) << "\n";
    printBelow(top, 1, deepest, counts);
    std::cout << counts.folders << (counts.folders == 1 ? " folder, " : " folders, ")
              << counts.files << (counts.files == 1 ? " file\n" : " files\n");
    return kDone;
}

int run(std::vector<std::string>& words) {
    std::optional<std::string> depth;
    if (!takeOption(words, "--depth", depth)) {
        return kBadUsage;
    }
    const unsigned deepest = depth ? number(*depth, kDeepest).value_or(0) : kDeepest;
    if (deepest == 0) {
        return complain("--depth takes a number, 1 to 64", kBadUsage);
    }
    const bool isLocal = words.size() == 2 && words.front() == "local";
    const auto choice = isLocal ? std::optional(DeviceChoice()) : takeDeviceOptions(words);
    if (!choice) {
        return kBadUsage;
    }
    host::SystemLog log(LogLevel::Warning, 2, false);
    host::LocalFileManager manager;
    const PathTreePlatform platform{manager, log};
    if (isLocal) {
        return print(*PodPath::initAsIPodRoot(platform, words.at(1)), deepest);
    }
    if (words.empty() || words.front() != "device" || words.size() > 2) {
        return complain("local FOLDER or device [PATH] is needed; see --help", kBadUsage);
    }
    const std::string path = words.size() == 2 ? words.at(1) : "/";
    return withDevice(*choice, [&](const std::shared_ptr<AFCDevice>& device) {
        const auto item =
            std::make_shared<DeviceItem>(device->deviceInterface(), path, lastPathComponent(path));
        return print(*PodPath::initAsIPhoneRoot(platform, item), deepest);
    });
}

}  // namespace

int main(int argc, char** argv) {
    return withWords(argc, argv, kUsage, run);
}
