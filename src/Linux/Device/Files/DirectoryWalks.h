// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quillbox::device {

/// How programs go through the directories that they have listed, and so which entries they will
/// ask for next. Knows names only, and never more than a few directories. One thread at a time.
class DirectoryWalks {
public:
    using Names = std::shared_ptr<const std::vector<std::string>>;

    /// A directory was listed; `asked` of its first entries were already asked for.
    void begin(const std::string& folder, Names names, std::size_t asked);

    /// Entries, of one directory, to ask for now.
    struct Ahead {
        std::string folder;
        std::vector<std::string> names;
    };

    /// Whether the answer to a question is at hand; an old one will soon be too old.
    enum class AtHand { No, Old, Fresh };

    /// `path` is asked for.
    Ahead wasAsked(const std::string& path, AtHand atHand);

    /// Whether `path` is an entry of a directory that was listed.
    bool isEntry(const std::string& path) { return find(path).walk != nullptr; }

    /// Whether programs are going through a directory: they come back to it again and again.
    bool isWalked(const std::string& folder) const;
    /// What kind of item was found at a path.
    void isKnown(const std::string& path, bool isFolder);
    /// `path`, a directory, is listed: the directories that will follow it, in order.
    Ahead wasListed(const std::string& path);
    /// Everything that was asked ahead was dropped: it is not asked for again until the walk goes
    /// on for a while.
    void wasDropped();

private:
    using Clock = std::chrono::steady_clock;

    struct Walk {
        std::string folder;
        Names names;
        std::unordered_map<std::string_view, std::size_t> index;  ///< of a small directory
        std::vector<std::uint8_t> flags;
        std::size_t next = 0;   ///< place behind the last entry that was asked for
        std::size_t asked = 0;  ///< entries before this were asked ahead
        std::size_t ahead = 0;
        std::size_t passed = 0;  ///< entries that were asked for in this pass
        std::size_t pace = 0;    ///< entries that were asked for since the last renewal
        Clock::time_point renewed{};
        std::size_t listed = 0;  ///< place behind the last entry that was listed
        std::size_t foldersAhead = 0;
        Clock::time_point refilled{};
        Clock::time_point used{};
    };

    struct Found {
        Walk* walk = nullptr;
        std::size_t place = 0;
    };

    Found find(std::string_view path);
    static Ahead refill(Walk& walk);
    static Ahead renew(Walk& walk, std::size_t place);
    static Ahead rest(const Walk& walk, std::size_t place, std::size_t most);

    std::list<Walk> walks_;  ///< the youngest first
};

}  // namespace quillbox::device
