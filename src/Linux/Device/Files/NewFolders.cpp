// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/NewFolders.h"

#include <algorithm>

namespace quillbox::device {

namespace {

using namespace std::chrono_literals;

constexpr auto kBelieved = 500ms;
constexpr auto kConfirmAfter = 150ms;
/// Bounds of what is remembered; beyond them the device is asked.
constexpr std::size_t kMostFolders = 64;
constexpr std::size_t kMostNames = 4096;

/// Whether a device might take other letters for the same name.
bool isPlain(std::string_view name) {
    return std::ranges::all_of(name, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string folded(std::string_view name) {
    std::string text{name};
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

struct Place {
    std::string_view folder;
    std::string_view name;
};

Place placeOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? Place{{}, path}
                                           : Place{path.substr(0, slash), path.substr(slash + 1)};
}

}  // namespace

void NewFolders::wasMade(const std::string& path, Clock::time_point made) {
    if (folders_.size() >= kMostFolders) {
        std::erase_if(folders_,
                      [&](const auto& each) { return made - each.second.confirmed > kBelieved; });
    }
    if (folders_.size() < kMostFolders) {
        folders_.insert_or_assign(path, Folder{{}, made, nullptr, made});
    }
}

void NewFolders::appears(const std::string& path) {
    // Missing parents are made on the way.
    for (Place place = placeOf(path); !folders_.empty() && !place.folder.empty();
         place = placeOf(place.folder)) {
        const auto found = folders_.find(place.folder);
        if (found == folders_.end()) {
            continue;
        }
        if (found->second.names.size() >= kMostNames) {
            folders_.erase(found);
        } else {
            found->second.names.insert(folded(place.name));
        }
    }
}

void NewFolders::changes(const std::string& path) {
    std::erase_if(folders_, [&](const auto& each) {
        return each.first == path || each.first.starts_with(path + "/");
    });
}

bool NewFolders::holds(const Folder& folder, const std::shared_ptr<AfcAnswer>& listing) {
    const auto names = wire::splitNames(listing->collected, kMaxNames);
    return listing->error == kAFCSuccess && names &&
           std::ranges::all_of(*names, [&](const std::string& name) {
               return name == "." || name == ".." || folder.names.contains(folded(name));
           });
}

/// False where the folder is not only ours any more, or it is not known in time.
bool NewFolders::confirm(Folder& folder, Clock::time_point now) {
    if (folder.check && folder.check->done.load(std::memory_order_acquire)) {
        if (!holds(folder, folder.check)) {
            return false;
        }
        folder.confirmed = folder.checkAsked;
        folder.check.reset();
    }
    return now - folder.confirmed <= kBelieved;
}

bool NewFolders::isAbsent(AfcClient& client, const std::string& path) {
    const Place place = placeOf(path);
    const auto found = folders_.find(place.folder);
    if (found == folders_.end()) {
        return false;
    }
    Folder& folder = found->second;
    const auto now = Clock::now();
    if (!confirm(folder, now)) {
        folders_.erase(found);
        return false;
    }
    if (!folder.check && now - folder.confirmed > kConfirmAfter) {
        folder.check = std::make_shared<AfcAnswer>();
        folder.check->expected = wire::AfcOperation::Data;
        folder.check->collects = true;
        folder.checkAsked = now;
        const wire::AfcParameters parameters = wire::AfcParameters{}.path(found->first);
        client.askAhead(wire::AfcOperation::ReadDirectory, parameters.bytes(), folder.check);
    }
    return isPlain(place.name) && !folder.names.contains(folded(place.name));
}

}  // namespace quillbox::device
