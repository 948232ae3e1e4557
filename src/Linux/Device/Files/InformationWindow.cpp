// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/InformationWindow.h"

#include <algorithm>
#include <utility>

namespace quillbox::device {

namespace {

using wire::AfcOperation;
using wire::AfcParameters;
using AtHand = DirectoryWalks::AtHand;

/// Entries of a directory that was listed ahead that are asked after ahead.
constexpr std::size_t kEntriesOfNext = 32;

std::string join(const std::string& folder, const std::string& name) {
    return folder + "/" + name;
}

const std::string* valueOf(const std::vector<wire::KeyValue>& pairs, std::string_view key) {
    const auto found =
        std::ranges::find_if(pairs, [&](const auto& pair) { return pair.first == key; });
    return found == pairs.end() ? nullptr : &found->second;
}

bool isNone(const AfcAnswer& answer) {
    return answer.error == kAFCConnectionLost;
}

}  // namespace

std::shared_ptr<AfcAnswer> InformationWindow::blank() {
    auto answer = std::make_shared<AfcAnswer>();
    answer->expected = AfcOperation::Data;
    answer->collects = true;
    return answer;
}

void InformationWindow::keep(const std::string& path, std::shared_ptr<AfcAnswer> bytes,
                             bool ofWalk) {
    const auto now = Clock::now();
    kept_.insert_or_assign(path, Kept{std::move(bytes), now, ofWalk});
    order_.emplace_back(now, path);
    trim();
}

void InformationWindow::trim() {
    while (!order_.empty() && (order_.size() > kMostKept || !isFresh(order_.front().first))) {
        const auto found = kept_.find(order_.front().second);
        if (found != kept_.end() && found->second.asked <= order_.front().first) {
            kept_.erase(found);
        }
        order_.pop_front();
    }
}

void InformationWindow::dropAll() {
    ++age_;
    if (!kept_.empty() || !listings_.empty()) {
        kept_.clear();
        order_.clear();
        listings_.clear();
        walks_.wasDropped();
    }
}

/// Finds what is kept for a path.
bool InformationWindow::take(const std::string& path, Answer& answer) {
    const auto found = kept_.find(path);
    if (found == kept_.end()) {
        return false;
    }
    const Kept& kept = found->second;
    const bool isUsable = isFresh(kept.asked) && !(kept.bytes->done && isNone(*kept.bytes));
    if (isUsable) {
        answer = {path, kept.bytes, kept.asked, age_};
    }
    if (!isUsable || (!kept.ofWalk && !marks_.isOpen(path))) {
        kept_.erase(found);
    }
    return isUsable;
}

void InformationWindow::askAheadOf(AfcClient& client, const std::string& path) {
    auto bytes = blank();
    client.askAhead(AfcOperation::FileInfo, AfcParameters{}.path(path).bytes(), bytes);
    keep(path, std::move(bytes), true);
}

void InformationWindow::putAhead(AfcClient& client, const std::string& folder,
                                 const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        const std::string path = join(folder, name);
        if (!wire::isUsableEntryName(name)) {
            continue;
        }
        if (const auto found = kept_.find(path);
            found != kept_.end() && Clock::now() - found->second.asked <= kFresh / 4) {
            continue;
        }
        askAheadOf(client, path);
    }
}

/// Asks ahead what the walk that `path` belongs to will want next. True where something was put
/// down.
bool InformationWindow::askAfter(AfcClient& client, const std::string& path, AtHand atHand) {
    const DirectoryWalks::Ahead ahead = walks_.wasAsked(path, atHand);
    if (ahead.names.empty()) {
        return false;
    }
    putAhead(client, ahead.folder, ahead.names);
    if (const auto folder = kept_.find(ahead.folder);
        folder != kept_.end() && isOld(folder->second.asked)) {
        askAheadOf(client, ahead.folder);
    }
    return true;
}

AFCError InformationWindow::give(AfcClient& client, const Answer& answer,
                                 std::vector<wire::KeyValue>& pairs) {
    const AFCError error = answer.bytes->error;
    if (error != kAFCSuccess) {
        const std::lock_guard lock{mutex_};
        kept_.erase(answer.path);
        if (error == kAFCObjectNotFound && answer.age == age_) {
            absent_ = answer.path;
            absentAsked_ = answer.asked;
        }
        return error;
    }
    auto split = wire::splitKeyValues(answer.bytes->collected);
    if (!split) {
        return client.breakFor("a malformed answer: " + std::string{wire::describe(split.error())});
    }
    pairs = std::move(*split);
    const std::string* kind = valueOf(pairs, "st_ifmt");
    const bool isFolder = kind != nullptr && *kind == "S_IFDIR";
    const std::string* links = valueOf(pairs, "st_nlink");
    if (!isFolder && links != nullptr && *links != "1") {
        marks_.hasAliases();
    }
    const std::lock_guard lock{mutex_};
    walks_.isKnown(answer.path, isFolder);
    return kAFCSuccess;
}

AFCError InformationWindow::information(AfcClient& client, const std::string& path, Answer& answer,
                                        std::vector<wire::KeyValue>& pairs) {
    const AfcParameters parameters = AfcParameters{}.path(path);
    if (!parameters.valid()) {
        return kAFCInvalidArgument;
    }
    bool isHere = false;
    bool asksMore = false;
    {
        const std::lock_guard lock{mutex_};
        trim();
        if (newFolders_.isAbsent(client, path)) {
            absent_ = path;
            absentAsked_ = Clock::now();
            return kAFCObjectNotFound;
        }
        isHere = take(path, answer);
        asksMore =
            isHere && askAfter(client, path, isOld(answer.asked) ? AtHand::Old : AtHand::Fresh);
    }
    if (asksMore) {
        client.sendAhead();
    }
    if (isHere) {
        client.collect(answer.bytes);
        if (!isNone(*answer.bytes)) {
            return give(client, answer, pairs);
        }
        if (client.isBroken()) {
            return kAFCConnectionLost;
        }
    }
    answer = {path, blank(), Clock::now(), 0};
    {
        const std::lock_guard lock{mutex_};
        answer.age = age_;
        client.askAhead(AfcOperation::FileInfo, parameters.bytes(), answer.bytes);
        if (walks_.isWalked(path) || walks_.isEntry(path)) {
            keep(path, answer.bytes, true);
        }
        askAfter(client, path, AtHand::No);
    }
    client.collect(answer.bytes);
    if (isNone(*answer.bytes) && !client.isBroken()) {
        answer.bytes = blank();
        client.ask(AfcOperation::FileInfo, parameters.bytes(), *answer.bytes);
    }
    return give(client, answer, pairs);
}

void InformationWindow::wasNotRead(const Answer& answer) {
    const std::lock_guard lock{mutex_};
    if (answer.age == age_ && isFresh(answer.asked) && !kept_.contains(answer.path)) {
        kept_.insert_or_assign(answer.path, Kept{answer.bytes, answer.asked, false});
        order_.emplace_back(Clock::now(), answer.path);
        trim();
    }
}

/// Asks for the listings of the directories that follow `path` in its walk, and after the entries
/// of those whose listings have come.
void InformationWindow::listAhead(AfcClient& client, const std::string& path) {
    const DirectoryWalks::Ahead ahead = walks_.wasListed(path);
    for (const std::string& name : ahead.names) {
        const std::string folder = join(ahead.folder, name);
        const auto found = listings_.find(folder);
        if (found == listings_.end() || !isFresh(found->second.asked)) {
            putAhead(client, ahead.folder, {name});
            auto bytes = blank();
            client.askAhead(AfcOperation::ReadDirectory, AfcParameters{}.path(folder).bytes(),
                            bytes);
            listings_.insert_or_assign(folder, KeptListing{bytes, Clock::now(), nullptr});
            continue;
        }
        KeptListing& listing = found->second;
        if (listing.names || !listing.bytes->done || listing.bytes->error != kAFCSuccess) {
            continue;
        }
        if (listing.bytes->collected.size() > kLongestListing) {
            listings_.erase(found);
            continue;
        }
        if (auto names = wire::splitNames(listing.bytes->collected, kMaxNames)) {
            listing.names = std::make_shared<const std::vector<std::string>>(std::move(*names));
            const auto count = std::min(listing.names->size(), kEntriesOfNext);
            putAhead(client, folder,
                     {listing.names->begin(),
                      listing.names->begin() + static_cast<std::ptrdiff_t>(count)});
        }
    }
}

/// Gives a listing that was asked for ahead, once.
bool InformationWindow::takeListing(AfcClient& client, const std::string& path,
                                    std::vector<std::string>& names) {
    KeptListing listing;
    std::uint64_t age = 0;
    {
        const std::lock_guard lock{mutex_};
        std::erase_if(listings_, [](const auto& each) { return !isFresh(each.second.asked); });
        const auto found = listings_.find(path);
        if (found == listings_.end()) {
            return false;
        }
        listing = std::move(found->second);
        listings_.erase(found);
        age = age_;
    }
    client.collect(listing.bytes);
    if (listing.bytes->error != kAFCSuccess) {
        return false;  // asked again, by itself
    }
    std::size_t asked = 0;
    if (listing.names) {
        asked = std::min(listing.names->size(), kEntriesOfNext);
    } else {
        auto split = wire::splitNames(listing.bytes->collected, kMaxNames);
        if (!split) {
            return false;
        }
        listing.names = std::make_shared<const std::vector<std::string>>(std::move(*split));
    }
    {
        const std::lock_guard lock{mutex_};
        if (age != age_) {
            return false;
        }
        names = *listing.names;
        walks_.begin(path, listing.names, asked);
        listAhead(client, path);
    }
    client.sendAhead();
    return true;
}

AFCError InformationWindow::list(AfcClient& client, const std::string& path,
                                 std::vector<std::string>& names) {
    const AfcParameters parameters = AfcParameters{}.path(path);
    if (!parameters.valid()) {
        return kAFCInvalidArgument;
    }
    if (takeListing(client, path, names)) {
        return kAFCSuccess;
    }
    {
        const std::lock_guard lock{mutex_};
        listAhead(client, path);
    }
    AfcAnswer answer;
    answer.expected = AfcOperation::Data;
    answer.collects = true;
    if (const AFCError error = client.ask(AfcOperation::ReadDirectory, parameters.bytes(), answer);
        error != kAFCSuccess) {
        return error;
    }
    auto split = wire::splitNames(answer.collected, kMaxNames);
    if (!split) {
        // A listing is whole or a failure: what came before the damage is of no use.
        return client.breakFor("a malformed listing: " +
                               std::string{wire::describe(split.error())});
    }
    names = std::move(*split);
    auto shared = std::make_shared<const std::vector<std::string>>(names);
    const std::lock_guard lock{mutex_};
    walks_.begin(path, std::move(shared), 0);
    return kAFCSuccess;
}

AFCError InformationWindow::change(AfcClient& client, AfcOperation operation,
                                   const AfcParameters& parameters, AfcAnswer& answer,
                                   const Change& change) {
    if (!parameters.valid()) {
        return kAFCInvalidArgument;
    }
    if (change.namesChange) {
        marks_.namesChange();
    }
    if (change.makesAlias) {
        marks_.hasAliases();
    }
    if (change.isContent) {
        marks_.changes(change.path);
    }
    const auto begun = Clock::now();
    bool wasAbsent = false;
    {
        const std::lock_guard lock{mutex_};
        wasAbsent = absent_ == change.path && isFresh(absentAsked_);
        absent_.clear();
        dropAll();
        if (change.mayAppear) {
            newFolders_.appears(change.path);
        }
        if (!change.oldPath.empty()) {
            newFolders_.changes(change.oldPath);
            newFolders_.changes(change.path);
        }
    }
    const AfcParameters about = AfcParameters{}.path(change.path);
    const AfcClient::Behind behind{AfcOperation::FileInfo, about.bytes(), blank()};
    const bool asks = !change.path.empty();
    const AFCError error =
        client.ask(operation, parameters.bytes(), answer, asks ? &behind : nullptr);
    if (change.isContent) {
        marks_.changes(change.path);
    }
    const std::lock_guard lock{mutex_};
    // What another thread was told meanwhile may be older than the change.
    dropAll();
    if (error == kAFCSuccess && asks) {
        kept_.insert_or_assign(change.path, Kept{behind.answer, begun, false});
        order_.emplace_back(begun, change.path);
        if (change.isFolder && wasAbsent) {
            newFolders_.wasMade(change.path, begun);
        }
    }
    return error;
}

void InformationWindow::fileChanges(const FileMark& mark) {
    marks_.changes(mark);
    const std::lock_guard lock{mutex_};
    dropAll();
}

void InformationWindow::closed(const std::string& path) {
    const std::lock_guard lock{mutex_};
    if (const auto found = kept_.find(path); found != kept_.end() && !found->second.ofWalk) {
        kept_.erase(found);
    }
}

}  // namespace quillbox::device
