// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Files/AfcClient.h"
#include "Linux/Device/Files/DirectoryWalks.h"
#include "Linux/Device/Files/FileMarks.h"
#include "Linux/Device/Files/NewFolders.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace quillbox::device {

/// What one connection knows, for a moment, of the files behind it: answers that were asked for
/// ahead of a program that walks a directory in order, an existence test's answer that nobody read,
/// what a changing request has left. An answer is given out to the question for that very path
/// only, no older than `kFresh`, and dropped by any request of this connection that changes the
/// name space, a size or a time. Failures are given out once. Memory is bounded. Any thread.
class InformationWindow {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds kFresh{500};

    /// One answer about one path.
    struct Answer {
        std::string path;
        std::shared_ptr<AfcAnswer> bytes;
        Clock::time_point asked;
        std::uint64_t age = 0;  ///< of the window when it was asked
    };

    /// The keys and values of a path.
    AFCError information(AfcClient& client, const std::string& path, Answer& answer,
                         std::vector<wire::KeyValue>& pairs);
    /// An answer of `information` was only a test: it serves the next question for its path.
    void wasNotRead(const Answer& answer);
    /// A directory's names as the device gives them.
    AFCError list(AfcClient& client, const std::string& path, std::vector<std::string>& names);

    /// What a request changes.
    struct Change {
        std::string path = {};     ///< its information is asked for right behind; may be empty
        std::string oldPath = {};  ///< leads to something else afterwards; may be empty
        bool mayAppear = false;
        bool isFolder = false;
        bool namesChange = false;
        bool makesAlias = false;  ///< one file gets a second name
        bool isContent = false;   ///< the file's content is changed by its path
    };

    /// Puts a changing request, and drops what it makes untrue.
    AFCError change(AfcClient& client, wire::AfcOperation operation,
                    const wire::AfcParameters& parameters, AfcAnswer& answer, const Change& change);
    /// A file that is open is about to be written.
    void fileChanges(const FileMark& mark);
    /// A file was closed: what is known of it is not kept for its user any more.
    void closed(const std::string& path);

    FileMarks& marks() { return marks_; }

private:
    /// Most answers that are kept; the oldest go first.
    static constexpr std::size_t kMostKept = 4096;
    /// Listings longer than this are not kept, in bytes.
    static constexpr std::size_t kLongestListing = 256U << 10U;

    struct Kept {
        std::shared_ptr<AfcAnswer> bytes;
        Clock::time_point asked;
        bool ofWalk = false;  ///< given out as often as it is asked for
    };

    struct KeptListing {
        std::shared_ptr<AfcAnswer> bytes;
        Clock::time_point asked;
        DirectoryWalks::Names names;  ///< once it has come and its entries were asked after
    };

    static std::shared_ptr<AfcAnswer> blank();

    static bool isFresh(Clock::time_point asked) { return Clock::now() - asked <= kFresh; }

    /// Still fresh, but to be asked for again where it will be needed.
    static bool isOld(Clock::time_point asked) { return Clock::now() - asked > kFresh / 2; }

    bool take(const std::string& path, Answer& answer);
    void keep(const std::string& path, std::shared_ptr<AfcAnswer> bytes, bool ofWalk);
    void trim();
    void dropAll();
    void askAheadOf(AfcClient& client, const std::string& path);
    void putAhead(AfcClient& client, const std::string& folder,
                  const std::vector<std::string>& names);
    bool askAfter(AfcClient& client, const std::string& path, DirectoryWalks::AtHand atHand);
    void listAhead(AfcClient& client, const std::string& path);
    bool takeListing(AfcClient& client, const std::string& path, std::vector<std::string>& names);
    AFCError give(AfcClient& client, const Answer& answer, std::vector<wire::KeyValue>& pairs);

    FileMarks marks_;
    std::mutex mutex_;       ///< guards what follows; not held by who waits for an answer
    std::uint64_t age_ = 0;  ///< grows with every change
    std::unordered_map<std::string, Kept> kept_;
    std::deque<std::pair<Clock::time_point, std::string>> order_;  ///< of `kept_`, oldest first
    std::unordered_map<std::string, KeptListing> listings_;
    DirectoryWalks walks_;
    NewFolders newFolders_;
    std::string absent_;  ///< the last path that was not there: made now, it is new
    Clock::time_point absentAsked_{};
};

}  // namespace quillbox::device
