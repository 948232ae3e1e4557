// SPDX-License-Identifier: GPL-3.0-or-later
// What tests put on the devices, script and see. The calls themselves stand in FakeAFC.cpp.
#include "FakeAFC.h"

namespace quillbox::fakes {

AFCConnectionRef FakeAFC::startService(const std::string& treeName) {
    const std::lock_guard guard(mutex_);
    trees_[treeName].try_emplace("/", Node{.format = "S_IFDIR"});
    services_.emplace(++lastNumber_, treeName);
    return lastNumber_;
}

Tree& FakeAFC::tree(const std::string& name) {
    const std::lock_guard guard(mutex_);
    return trees_[name];
}

void FakeAFC::addDirectory(const std::string& treeName, const std::string& path) {
    const std::lock_guard guard(mutex_);
    trees_[treeName].insert_or_assign(path, Node{.format = "S_IFDIR"});
}

void FakeAFC::addFile(const std::string& treeName, const std::string& path, std::string content) {
    const std::lock_guard guard(mutex_);
    trees_[treeName].insert_or_assign(path, Node{.content = std::move(content)});
}

std::string FakeAFC::content(const std::string& treeName, const std::string& path) {
    const std::lock_guard guard(mutex_);
    return trees_.at(treeName).at(path).content;
}

bool FakeAFC::exists(const std::string& treeName, const std::string& path) {
    const std::lock_guard guard(mutex_);
    return trees_[treeName].contains(path);
}

void FakeAFC::scriptListing(const std::string& path, std::vector<std::string> names) {
    const std::lock_guard guard(mutex_);
    scriptedListings_.insert_or_assign(path, std::move(names));
}

void FakeAFC::leaveOutValueOf(const std::string& key) {
    const std::lock_guard guard(mutex_);
    keyWithoutValue_ = key;
}

void FakeAFC::setDeviceInfo(InfoPairs info, const std::string& treeName) {
    const std::lock_guard guard(mutex_);
    deviceInfo_.insert_or_assign(treeName, std::move(info));
}

void FakeAFC::acceptEveryMode() {
    const std::lock_guard guard(mutex_);
    acceptsEveryMode_ = true;
}

void FakeAFC::scriptReads(std::deque<std::uint64_t> lengths) {
    const std::lock_guard guard(mutex_);
    readLengths_ = std::move(lengths);
}

void FakeAFC::runAfterNextAnswer(std::function<void()> work) {
    const std::lock_guard guard(mutex_);
    afterNextAnswer_ = std::move(work);
}

void FakeAFC::runBeforeNextClose(std::function<void()> work) {
    const std::lock_guard guard(mutex_);
    beforeNextClose_ = std::move(work);
}

std::size_t FakeAFC::openConnections() const {
    const std::lock_guard guard(mutex_);
    return connections_.size();
}

std::size_t FakeAFC::openFiles() const {
    const std::lock_guard guard(mutex_);
    return files_.size();
}

std::size_t FakeAFC::openDirectories() const {
    const std::lock_guard guard(mutex_);
    return listings_.size();
}

std::size_t FakeAFC::openAnswers() const {
    const std::lock_guard guard(mutex_);
    return answers_.size();
}

std::string FakeAFC::treeOf(AFCConnectionRef connection) const {
    const std::lock_guard guard(mutex_);
    const auto found = connections_.find(connection);
    return found == connections_.end() ? std::string() : found->second;
}

std::vector<std::string> FakeAFC::violations() const {
    const std::lock_guard guard(mutex_);
    return violations_;
}

}  // namespace quillbox::fakes
