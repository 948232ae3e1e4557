// SPDX-License-Identifier: GPL-3.0-or-later
#include "MemoryDevice.h"

#include <algorithm>

namespace quillbox::test {
namespace {

thread_local AFCError lastFailureOfThread = 0;

std::string parentOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string prefixOf(const std::string& folder) {
    return folder == "/" ? "/" : folder + "/";
}

}  // namespace

MemoryDevice::MemoryDevice() {
    items_["/"] =
        std::make_shared<Item>(Item{Item::Kind::Folder, "", 1'600'000'000'000'000'000, 2});
}

AFCError MemoryDevice::answer(AFCError status) {
    if (status != 0) {
        lastFailureOfThread = status;
    }
    return status;
}

AFCError MemoryDevice::lastFailure() {
    return lastFailureOfThread;
}

void MemoryDevice::forgetFailure() {
    lastFailureOfThread = 0;
}

AFCError MemoryDevice::step(std::unique_lock<std::mutex>& lock, Request request) {
    const int number = ++counts_[request];
    if (blocked_ == request) {
        ++held_;
        changed_.notify_all();
        changed_.wait(lock, [&] { return blocked_ != request; });
        --held_;
    }
    if (allFail_ != 0) {
        return answer(allFail_);
    }
    auto& failures = failures_[request];
    if (const auto found = failures.find(number); found != failures.end()) {
        return answer(found->second);
    }
    return 0;
}

bool MemoryDevice::isFolder(const std::string& path) const {
    const auto found = items_.find(path);
    return found != items_.end() && found->second->kind == Item::Kind::Folder;
}

bool MemoryDevice::isEmpty(const std::string& path) const {
    const std::string prefix = prefixOf(path);
    const auto next = items_.lower_bound(prefix);
    return next == items_.end() || !next->first.starts_with(prefix);
}

AFCError MemoryDevice::info(const std::string& path, Item* item) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Info); status != 0) {
        return status;
    }
    const auto found = items_.find(path);
    if (found == items_.end()) {
        return answer(kAFCObjectNotFound);
    }
    if (item != nullptr) {
        *item = *found->second;
    }
    return 0;
}

AFCError MemoryDevice::list(const std::string& path, std::vector<std::string>* names) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::List); status != 0) {
        return status;
    }
    if (!isFolder(path)) {
        return answer(kAFCObjectNotFound);
    }
    *names = {".", ".."};
    const std::string prefix = prefixOf(path);
    for (auto next = items_.lower_bound(prefix);
         next != items_.end() && next->first.starts_with(prefix); ++next) {
        const std::string rest = next->first.substr(prefix.size());
        if (!rest.empty() && rest.find('/') == std::string::npos) {
            names->push_back(rest);
        }
    }
    names->insert(names->end(), rawNames_.begin(), rawNames_.end());
    return 0;
}

AFCError MemoryDevice::open(const std::string& path, bool mayCreate, std::uint64_t* file) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Open); status != 0) {
        return status;
    }
    auto found = items_.find(path);
    if (found == items_.end()) {
        if (!mayCreate || !isFolder(parentOf(path))) {
            return answer(kAFCObjectNotFound);
        }
        found = items_.emplace(path, std::make_shared<Item>()).first;
    }
    if (found->second->kind == Item::Kind::Folder) {
        return answer(kAFCObjectIsDirectory);
    }
    *file = nextFile_++;
    files_[*file] = found->second;
    return 0;
}

AFCError MemoryDevice::read(std::uint64_t file, std::uint64_t offset, std::size_t size,
                            std::string* bytes) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Read); status != 0) {
        return status;
    }
    const auto found = files_.find(file);
    if (found == files_.end()) {
        return answer(kAFCInvalidArgument);
    }
    const std::string& content = found->second->content;
    const std::size_t start = std::min<std::size_t>(offset, content.size());
    const std::size_t end = std::max<std::size_t>(start, std::min(content.size(), readEnd_));
    *bytes = content.substr(start, std::min({size, readLimit_, end - start}));
    return 0;
}

AFCError MemoryDevice::write(std::uint64_t file, std::uint64_t offset, const std::string& bytes) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Write); status != 0) {
        return status;
    }
    const auto found = files_.find(file);
    if (found == files_.end()) {
        return answer(kAFCInvalidArgument);
    }
    std::string& content = found->second->content;
    if (content.size() < offset + bytes.size()) {
        content.resize(offset + bytes.size());
    }
    content.replace(offset, bytes.size(), bytes);
    return 0;
}

AFCError MemoryDevice::close(std::uint64_t file) {
    std::unique_lock lock(mutex_);
    const AFCError status = step(lock, Request::Close);
    files_.erase(file);
    return status;
}

AFCError MemoryDevice::rename(const std::string& from, const std::string& to) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Rename); status != 0) {
        return status;
    }
    const auto found = items_.find(from);
    if (found == items_.end() || !isFolder(parentOf(to))) {
        return answer(kAFCObjectNotFound);
    }
    if (const auto target = items_.find(to);
        target != items_.end() && target->second == found->second) {
        return 0;  // two names of one file: as on any disk
    }
    if (isFolder(to) && !isEmpty(to)) {
        return answer(kAFCDirectoryNotEmpty);
    }
    std::map<std::string, ItemPtr> moved;
    const std::string prefix = prefixOf(from);
    for (auto next = items_.begin(); next != items_.end();) {
        if (next->first == from || next->first.starts_with(prefix)) {
            moved[to + next->first.substr(from.size())] = next->second;
            next = items_.erase(next);
        } else {
            ++next;
        }
    }
    for (auto& [path, item] : moved) {
        items_[path] = item;
    }
    return 0;
}

AFCError MemoryDevice::remove(const std::string& path) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Remove); status != 0) {
        return status;
    }
    const auto found = items_.find(path);
    if (found == items_.end()) {
        return answer(kAFCObjectNotFound);
    }
    if (!isEmpty(path)) {
        return answer(kAFCDirectoryNotEmpty);
    }
    --found->second->links;
    items_.erase(found);
    return 0;
}

AFCError MemoryDevice::makeFolder(const std::string& path) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::MakeFolder); status != 0) {
        return status;
    }
    items_.emplace(path, std::make_shared<Item>(Item{Item::Kind::Folder, "", 0, 2}));
    return 0;
}

AFCError MemoryDevice::hardLink(const std::string& existing, const std::string& name) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Link); status != 0) {
        return status;
    }
    const auto found = items_.find(existing);
    if (found == items_.end()) {
        return answer(kAFCObjectNotFound);
    }
    ++found->second->links;
    items_[name] = found->second;
    return 0;
}

AFCError MemoryDevice::symbolicLink(const std::string& name, const std::string& target) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::Link); status != 0) {
        return status;
    }
    items_[name] = std::make_shared<Item>(Item{Item::Kind::Link, target, 0, 1});
    return 0;
}

AFCError MemoryDevice::setSize(const std::string& path, std::uint64_t size) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::SetSize); status != 0) {
        return status;
    }
    const auto found = items_.find(path);
    if (found == items_.end()) {
        return answer(kAFCObjectNotFound);
    }
    found->second->content.resize(size);
    return 0;
}

AFCError MemoryDevice::setFileSize(std::uint64_t file, std::uint64_t size) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::SetSize); status != 0) {
        return status;
    }
    const auto found = files_.find(file);
    if (found == files_.end()) {
        return answer(kAFCInvalidArgument);
    }
    found->second->content.resize(size);
    return 0;
}

AFCError MemoryDevice::setTime(const std::string& path, std::int64_t nanoseconds) {
    std::unique_lock lock(mutex_);
    if (const AFCError status = step(lock, Request::SetTime); status != 0) {
        return status;
    }
    const auto found = items_.find(path);
    if (found == items_.end()) {
        return answer(kAFCObjectNotFound);
    }
    found->second->modified = nanoseconds;
    return 0;
}

AFCError MemoryDevice::figures() {
    std::unique_lock lock(mutex_);
    return step(lock, Request::Figures);
}

void MemoryDevice::failNth(Request request, int n, AFCError status) {
    const std::lock_guard lock(mutex_);
    failures_[request][counts_[request] + n] = status;
}

void MemoryDevice::failAll(AFCError status) {
    const std::lock_guard lock(mutex_);
    allFail_ = status;
}

void MemoryDevice::block(Request request) {
    const std::lock_guard lock(mutex_);
    blocked_ = request;
}

void MemoryDevice::unblock() {
    const std::lock_guard lock(mutex_);
    blocked_.reset();
    changed_.notify_all();
}

int MemoryDevice::held() const {
    const std::lock_guard lock(mutex_);
    return held_;
}

int MemoryDevice::count(Request request) const {
    const std::lock_guard lock(mutex_);
    const auto found = counts_.find(request);
    return found == counts_.end() ? 0 : found->second;
}

std::size_t MemoryDevice::openFiles() const {
    const std::lock_guard lock(mutex_);
    return files_.size();
}

void MemoryDevice::addRawNames(std::vector<std::string> names) {
    const std::lock_guard lock(mutex_);
    rawNames_ = std::move(names);
}

void MemoryDevice::endReadsAt(std::uint64_t offset) {
    const std::lock_guard lock(mutex_);
    readEnd_ = offset;
}

void MemoryDevice::limitReads(std::size_t most) {
    const std::lock_guard lock(mutex_);
    readLimit_ = most;
}

void MemoryDevice::put(const std::string& path, const std::string& content) {
    putItem(path, Item{Item::Kind::File, content});
}

void MemoryDevice::putItem(const std::string& path, Item item) {
    const std::lock_guard lock(mutex_);
    items_[path] = std::make_shared<Item>(std::move(item));
}

void MemoryDevice::putFolder(const std::string& path) {
    putItem(path, Item{Item::Kind::Folder, "", 1'600'000'000'000'000'000, 2});
}

void MemoryDevice::putManyFiles(const std::string& folder, std::size_t count) {
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i < count; ++i) {
        items_[prefixOf(folder) + "file " + std::to_string(i)] = std::make_shared<Item>();
    }
}

std::optional<MemoryDevice::Item> MemoryDevice::item(const std::string& path) const {
    const std::lock_guard lock(mutex_);
    const auto found = items_.find(path);
    return found == items_.end() ? std::nullopt : std::optional(*found->second);
}

std::string MemoryDevice::content(const std::string& path) const {
    const auto found = item(path);
    return found ? found->content : "(absent)";
}

}  // namespace quillbox::test
