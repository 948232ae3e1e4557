// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/DirectoryWalks.h"

#include "Wire/AfcLists.h"

#include <algorithm>
#include <optional>

namespace quillbox::device {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostWalks = 8;
/// Names of a directory that is remembered.
constexpr std::size_t kMostNames = 200'000;
/// A small directory may also be gone through in another order.
constexpr std::size_t kSmall = 512;
constexpr std::size_t kIndexed = 4096;
constexpr std::size_t kFirstAhead = 64;
constexpr std::size_t kMostAhead = 512;
constexpr std::size_t kMostFoldersAhead = 16;
constexpr std::size_t kLeastRenewed = 16;
constexpr auto kBetweenRenewals = 100ms;
/// How far a name is looked for in a directory without an index.
constexpr std::size_t kReach = 64;

enum Flags : std::uint8_t { kPassed = 1, kFolder = 2 };

std::string_view folderOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view{} : path.substr(0, slash);
}

std::string_view nameOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

/// Without the closing slash that only the top has.
std::string plain(const std::string& folder) {
    return folder == "/" ? std::string{} : folder;
}

}  // namespace

void DirectoryWalks::begin(const std::string& folder, Names names, std::size_t asked) {
    const std::string path = plain(folder);
    std::erase_if(walks_, [&](const Walk& walk) { return walk.folder == path; });
    if (names->size() < 2 || names->size() > kMostNames) {
        return;
    }
    Walk& walk = walks_.emplace_front();
    walk.folder = path;
    walk.names = std::move(names);
    walk.flags.resize(walk.names->size());
    walk.asked = asked;
    walk.ahead = kFirstAhead;
    walk.foldersAhead = 2;
    walk.used = Clock::now();
    if (walk.names->size() <= kIndexed) {
        for (std::size_t i = 0; i < walk.names->size(); ++i) {
            walk.index.emplace((*walk.names)[i], i);
        }
    }
    if (walks_.size() > kMostWalks) {
        walks_.pop_back();
    }
}

bool DirectoryWalks::isWalked(const std::string& folder) const {
    const std::string path = plain(folder);
    return std::ranges::any_of(walks_, [&](const Walk& walk) {
        return walk.folder == path && Clock::now() - walk.used < 1s;
    });
}

DirectoryWalks::Found DirectoryWalks::find(std::string_view path) {
    const std::string_view folder = folderOf(path);
    const std::string_view name = nameOf(path);
    for (auto it = walks_.begin(); it != walks_.end(); ++it) {
        Walk& walk = *it;
        if (walk.folder != folder) {
            continue;
        }
        walks_.splice(walks_.begin(), walks_, it);  // those that are still gone through stay
        const auto& names = *walk.names;
        if (!walk.index.empty()) {
            const auto found = walk.index.find(name);
            return found == walk.index.end() ? Found{} : Found{&walk, found->second};
        }
        const std::size_t end = std::min(names.size(), walk.next + kReach);
        for (std::size_t i = walk.next; i < end; ++i) {
            if (names[i] == name) {
                return {&walk, i};
            }
        }
    }
    return {};
}

/// The next entries in order.
DirectoryWalks::Ahead DirectoryWalks::refill(Walk& walk) {
    const auto now = Clock::now();
    const auto since = now - walk.refilled;
    if (since < 100ms) {
        walk.ahead = std::min(walk.ahead * 2, kMostAhead);
    } else if (since > 300ms && walk.refilled != Clock::time_point{}) {
        walk.ahead = std::max<std::size_t>(walk.ahead / 2, 8);
    }
    walk.refilled = now;
    Ahead ahead{walk.folder, {}};
    const std::size_t end = std::min(walk.names->size(), walk.next + walk.ahead);
    for (walk.asked = std::max(walk.asked, walk.next); walk.asked < end; ++walk.asked) {
        ahead.names.push_back((*walk.names)[walk.asked]);
    }
    return ahead;
}

/// What was not asked for yet, wherever it stands; at most so many.
DirectoryWalks::Ahead DirectoryWalks::rest(const Walk& walk, std::size_t place, std::size_t most) {
    Ahead ahead{walk.folder, {}};
    for (std::size_t i = 0; i < walk.names->size() && ahead.names.size() < most; ++i) {
        const std::size_t at = (place + 1 + i) % walk.names->size();
        if ((walk.flags[at] & kPassed) == 0) {
            ahead.names.push_back((*walk.names)[at]);
        }
    }
    return ahead;
}

/// As many as the walk comes to while the new answers are fresh.
DirectoryWalks::Ahead DirectoryWalks::renew(Walk& walk, std::size_t place) {
    const auto now = Clock::now();
    if (now - walk.renewed < kBetweenRenewals) {
        return {};
    }
    walk.renewed = now;
    const std::size_t most = std::clamp(walk.pace * 2, kLeastRenewed, kMostAhead);
    walk.pace = 0;
    return rest(walk, place, most);
}

DirectoryWalks::Ahead DirectoryWalks::wasAsked(const std::string& path, AtHand atHand) {
    const auto [walk, place] = find(path);
    if (walk == nullptr) {
        return {};
    }
    const bool isHere = atHand != AtHand::No;
    walk->used = Clock::now();
    const bool inOrder = place >= walk->next && place < walk->next + kReach;
    if ((walk->flags[place] & kPassed) == 0) {
        walk->flags[place] |= kPassed;
        ++walk->pace;
        // Names of the system's own are never asked for.
        if (++walk->passed + 2 >= walk->names->size()) {
            for (auto& flags : walk->flags) {
                flags &= static_cast<std::uint8_t>(~kPassed);
            }
            walk->passed = 0;
            walk->next = 0;
            walk->asked = 0;
            return {};
        }
    } else if (isHere) {
        return {};
    }
    if (inOrder) {
        walk->next = place + 1;
    }
    if (!isHere && !inOrder) {
        if (walk->names->size() > kSmall) {
            return {};
        }
        auto ahead = rest(*walk, place, walk->ahead);
        walk->ahead = std::min(walk->ahead * 4, kMostAhead);
        return ahead;
    }
    if (!isHere) {
        walk->asked = place + 1;  // what was asked ahead is too old, or was dropped
        return refill(*walk);
    }
    if (atHand == AtHand::Old) {
        return renew(*walk, place);
    }
    if (inOrder && walk->asked > walk->next && walk->asked - walk->next < walk->ahead / 2 &&
        walk->asked < walk->names->size()) {
        return refill(*walk);
    }
    return {};
}

void DirectoryWalks::isKnown(const std::string& path, bool isFolder) {
    if (const auto [walk, place] = find(path); walk != nullptr && isFolder) {
        walk->flags[place] |= kFolder;
    }
    // In a large directory the walk has gone past the entry by now.
    for (Walk& walk : walks_) {
        if (isFolder && walk.index.empty() && walk.next > 0 && walk.folder == folderOf(path) &&
            (*walk.names)[walk.next - 1] == nameOf(path)) {
            walk.flags[walk.next - 1] |= kFolder;
        }
    }
}

DirectoryWalks::Ahead DirectoryWalks::wasListed(const std::string& path) {
    const auto [walk, place] = find(path);
    if (walk == nullptr || walk->index.empty() || place < walk->listed) {
        return {};
    }
    walk->used = Clock::now();
    walk->flags[place] |= kFolder;
    walk->listed = place + 1;
    Ahead ahead{walk->folder, {}};
    for (std::size_t i = place + 1;
         i < walk->names->size() && ahead.names.size() < walk->foldersAhead; ++i) {
        if ((walk->flags[i] & kFolder) != 0) {
            ahead.names.push_back((*walk->names)[i]);
        }
    }
    walk->foldersAhead = std::min(walk->foldersAhead * 2, kMostFoldersAhead);
    return ahead;
}

void DirectoryWalks::wasDropped() {
    for (Walk& walk : walks_) {
        walk.asked = 0;
        walk.ahead = 1;
        walk.foldersAhead = 1;
    }
}

}  // namespace quillbox::device
