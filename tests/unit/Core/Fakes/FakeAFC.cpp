// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeAFC.h"

#include <algorithm>
#include <cstring>

namespace quillbox::fakes {

namespace {

thread_local AFCError lastFailureOfThread = kAFCSuccess;

AFCError answer(AFCError status) {
    if (status != kAFCSuccess) {
        lastFailureOfThread = status;
    }
    return status;
}

std::string parentOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

InfoPairs infoOf(const Node& node) {
    if (node.info) {
        return *node.info;
    }
    InfoPairs pairs{{"st_size", std::to_string(node.content.size())},
                    {"st_blocks", "8"},
                    {"st_nlink", node.links},
                    {"st_ifmt", node.format},
                    {"st_mtime", node.modified},
                    {"st_birthtime", node.born}};
    if (!node.linkTarget.empty()) {
        pairs.emplace_back("LinkTarget", node.linkTarget);
    }
    return pairs;
}

}  // namespace

AFCError FakeAFC::enter(const std::string& kind, const std::string& arguments,
                        AFCConnectionRef connection) {
    record_.add(arguments.empty() ? kind : kind + " " + arguments);
    if (const AFCError status = record_.statusOf(kind); status != kAFCSuccess) {
        return answer(status);
    }
    return answer(connections_.contains(connection) ? AFCError{kAFCSuccess}
                                                    : AFCError{kAFCConnectionLost});
}

AFCError FakeAFC::enterFile(const std::string& kind, const std::string& arguments,
                            AFCConnectionRef connection, AFCFileRef file) {
    if (const AFCError status = enter(kind, arguments, connection); status != kAFCSuccess) {
        return status;
    }
    const auto found = files_.find(file);
    const bool isOpen = found != files_.end() && found->second.connection == connection;
    return answer(isOpen ? AFCError{kAFCSuccess} : AFCError{kAFCIOError});
}

AFCError FakeAFC::AFCConnectionOpen(AFCConnectionRef service, std::uint32_t ioTimeout,
                                    AFCConnectionRef* connection) {
    const std::lock_guard guard(mutex_);
    record_.add("AFCConnectionOpen " + services_[service] + " " + std::to_string(ioTimeout));
    if (const AFCError status = record_.statusOf("AFCConnectionOpen"); status != kAFCSuccess) {
        return answer(status);
    }
    if (services_[service].empty()) {
        violations_.emplace_back("AFCConnectionOpen over no service");
        return answer(kAFCConnectionLost);
    }
    const std::string treeName = services_.extract(service).mapped();
    connections_.emplace(++lastNumber_, treeName);
    *connection = lastNumber_;
    return answer(kAFCSuccess);
}

AFCError FakeAFC::AFCConnectionClose(AFCConnectionRef connection) {
    std::unique_lock guard(mutex_);
    if (const auto work = std::exchange(beforeNextClose_, {})) {
        guard.unlock();
        work();
        guard.lock();
    }
    const auto found = connections_.find(connection);
    record_.add("AFCConnectionClose " + (found == connections_.end() ? "?" : found->second));
    const AFCError status = record_.statusOf("AFCConnectionClose");
    if (found == connections_.end() && services_.erase(connection) == 0) {
        return answer(kAFCConnectionLost);
    }
    connections_.erase(connection);
    const auto ofConnection = [connection](const auto& each) {
        return each.second.connection == connection;
    };
    for (const auto& [file, open] : files_) {
        if (open.connection == connection) {
            goneFiles_.insert(file);
        }
    }
    std::erase_if(files_, ofConnection);
    return answer(status);
}

AFCError FakeAFC::AFCDeviceInfoOpen(AFCConnectionRef connection, AFCKeyValueRef* info) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status = enter("AFCDeviceInfoOpen", "", connection); status != kAFCSuccess) {
        return status;
    }
    *info = ++lastNumber_;
    const auto ofTree = deviceInfo_.find(connections_.at(connection));
    answers_.emplace(
        *info, Answer{connection, ofTree != deviceInfo_.end() ? ofTree->second : deviceInfo_[""]});
    return kAFCSuccess;
}

AFCError FakeAFC::AFCFileInfoOpen(AFCConnectionRef connection, const std::string& path,
                                  AFCKeyValueRef* info) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status = enter("AFCFileInfoOpen", path, connection); status != kAFCSuccess) {
        return status;
    }
    const auto& nodes = treeAt(connection);
    const auto found = nodes.find(path);
    if (found == nodes.end()) {
        return answer(kAFCObjectNotFound);
    }
    *info = ++lastNumber_;
    answers_.emplace(*info, Answer{connection, infoOf(found->second)});
    return kAFCSuccess;
}

AFCError FakeAFC::AFCKeyValueRead(AFCKeyValueRef info, const char** key, const char** value) {
    const std::lock_guard guard(mutex_);
    record_.add("AFCKeyValueRead");
    if (const AFCError status = record_.statusOf("AFCKeyValueRead"); status != kAFCSuccess) {
        return answer(status);
    }
    const auto found = answers_.find(info);
    if (found == answers_.end() || !connections_.contains(found->second.connection)) {
        return answer(kAFCConnectionLost);
    }
    Answer& told = found->second;
    const bool isAtEnd = told.next == told.pairs.size();
    *key = isAtEnd ? nullptr : told.pairs[told.next].first.c_str();
    const bool hasValue = !isAtEnd && told.pairs[told.next].first != keyWithoutValue_;
    *value = hasValue ? told.pairs[told.next].second.c_str() : nullptr;
    told.next += isAtEnd ? 0 : 1;
    return kAFCSuccess;
}

AFCError FakeAFC::AFCKeyValueClose(AFCKeyValueRef info) {
    std::unique_lock guard(mutex_);
    record_.add("AFCKeyValueClose");
    const AFCError status = record_.statusOf("AFCKeyValueClose");
    const auto found = answers_.find(info);
    const bool isOpen = found != answers_.end() && connections_.contains(found->second.connection);
    answers_.erase(info);
    if (const auto work = std::exchange(afterNextAnswer_, nullptr)) {
        guard.unlock();
        work();
    }
    return answer(isOpen ? status : AFCError{kAFCConnectionLost});
}

AFCError FakeAFC::AFCDirectoryOpen(AFCConnectionRef connection, const std::string& path,
                                   AFCDirectoryRef* directory) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status = enter("AFCDirectoryOpen", path, connection);
        status != kAFCSuccess) {
        return status;
    }
    const auto& nodes = treeAt(connection);
    const auto found = nodes.find(path);
    if (found == nodes.end() || found->second.format != "S_IFDIR") {
        return answer(kAFCObjectNotFound);
    }
    Listing listing{connection, {".", ".."}};
    if (const auto scripted = scriptedListings_.find(path); scripted != scriptedListings_.end()) {
        listing.names = scripted->second;
    } else {
        for (const auto& [each, node] : nodes) {
            if (each != "/" && parentOf(each) == path) {
                listing.names.push_back(each.substr(each.rfind('/') + 1));
            }
        }
    }
    *directory = ++lastNumber_;
    listings_.emplace(*directory, std::move(listing));
    return kAFCSuccess;
}

AFCError FakeAFC::AFCDirectoryRead(AFCConnectionRef connection, AFCDirectoryRef directory,
                                   const char** name) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status = enter("AFCDirectoryRead", "", connection); status != kAFCSuccess) {
        return status;
    }
    const auto found = listings_.find(directory);
    if (found == listings_.end()) {
        return answer(kAFCConnectionLost);
    }
    Listing& listing = found->second;
    *name = listing.next == listing.names.size() ? nullptr : listing.names[listing.next++].c_str();
    return kAFCSuccess;
}

AFCError FakeAFC::AFCDirectoryClose(AFCConnectionRef connection, AFCDirectoryRef directory) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enter("AFCDirectoryClose", "", connection);
    if (listings_.erase(directory) == 0 && status == kAFCSuccess) {
        violations_.emplace_back("AFCDirectoryClose of no directory");
    }
    return status;
}

AFCError FakeAFC::AFCDirectoryCreate(AFCConnectionRef connection, const std::string& path) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status = enter("AFCDirectoryCreate", path, connection);
        status != kAFCSuccess) {
        return status;
    }
    for (std::string each = path; each != "/"; each = parentOf(each)) {
        treeAt(connection).try_emplace(each, Node{.format = "S_IFDIR"});
    }
    return kAFCSuccess;
}

AFCError FakeAFC::AFCFileRefOpen(AFCConnectionRef connection, const std::string& path,
                                 std::uint64_t mode, AFCFileRef* file) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status =
            enter("AFCFileRefOpen", path + " " + std::to_string(mode), connection);
        status != kAFCSuccess) {
        return status;
    }
    auto& nodes = treeAt(connection);
    const auto found = nodes.find(path);
    if ((mode < 1 || mode > 3) && !acceptsEveryMode_) {
        return answer(kAFCInvalidArgument);
    }
    if (found != nodes.end() && found->second.format == "S_IFDIR") {
        return answer(kAFCObjectIsDirectory);
    }
    if (found == nodes.end() && (mode == 1 || !nodes.contains(parentOf(path)))) {
        return answer(kAFCObjectNotFound);
    }
    auto& node = nodes.try_emplace(path).first->second;
    if (mode == 3 || mode == 4) {
        node.content.clear();
    }
    *file = ++lastNumber_;
    files_.emplace(*file, OpenFile{connection, path, mode});
    return kAFCSuccess;
}

AFCError FakeAFC::AFCFileRefSeek(AFCConnectionRef connection, AFCFileRef file, std::int64_t offset,
                                 std::uint64_t whence) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enterFile(
        "AFCFileRefSeek", std::to_string(offset) + " " + std::to_string(whence), connection, file);
    if (status != kAFCSuccess) {
        return status;
    }
    if (offset < 0 || whence != 0) {
        return answer(kAFCInvalidArgument);
    }
    files_.at(file).position = static_cast<std::uint64_t>(offset);
    return kAFCSuccess;
}

AFCError FakeAFC::AFCFileRefRead(AFCConnectionRef connection, AFCFileRef file, void* buffer,
                                 std::uint64_t* length) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enterFile("AFCFileRefRead", std::to_string(*length), connection, file);
    if (status != kAFCSuccess) {
        return status;
    }
    OpenFile& open = files_.at(file);
    const auto& nodes = treeAt(connection);
    const auto found = nodes.find(open.path);
    if (found == nodes.end()) {
        return answer(kAFCIOError);
    }
    const std::string& text = found->second.content;
    const std::uint64_t start = std::min<std::uint64_t>(open.position, text.size());
    *length = std::min<std::uint64_t>(*length, text.size() - start);
    if (!readLengths_.empty()) {
        *length = std::min(*length, readLengths_.front());
        readLengths_.pop_front();
    }
    std::memcpy(buffer, text.data() + start, *length);
    open.position = start + *length;
    return kAFCSuccess;
}

AFCError FakeAFC::AFCFileRefWrite(AFCConnectionRef connection, AFCFileRef file, const void* buffer,
                                  std::uint64_t length) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enterFile("AFCFileRefWrite", std::to_string(length), connection, file);
    if (status != kAFCSuccess) {
        return status;
    }
    OpenFile& open = files_.at(file);
    if (open.mode == 1) {
        return answer(kAFCPermissionDenied);
    }
    std::string& text = treeAt(connection)[open.path].content;
    text.resize(std::max<std::uint64_t>(text.size(), open.position + length));
    std::memcpy(text.data() + open.position, buffer, length);
    open.position += length;
    return kAFCSuccess;
}

AFCError FakeAFC::AFCFileRefSetFileSize(AFCConnectionRef connection, AFCFileRef file,
                                        std::uint64_t size) {
    const std::lock_guard guard(mutex_);
    const AFCError status =
        enterFile("AFCFileRefSetFileSize", std::to_string(size), connection, file);
    if (status == kAFCSuccess) {
        treeAt(connection)[files_.at(file).path].content.resize(size);
    }
    return status;
}

AFCError FakeAFC::AFCFileRefClose(AFCConnectionRef connection, AFCFileRef file) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enter("AFCFileRefClose", "", connection);
    if (files_.erase(file) == 0 && !goneFiles_.contains(file)) {
        violations_.emplace_back("AFCFileRefClose of no file");
    }
    return status;
}

AFCError FakeAFC::AFCRenamePath(AFCConnectionRef connection, const std::string& from,
                                const std::string& to) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status = enter("AFCRenamePath", from + " " + to, connection);
        status != kAFCSuccess) {
        return status;
    }
    auto& nodes = treeAt(connection);
    if (!nodes.contains(from)) {
        return answer(kAFCObjectNotFound);
    }
    Tree moved;
    for (auto each = nodes.begin(); each != nodes.end();) {
        if (each->first == from || each->first.starts_with(from + "/")) {
            moved.insert_or_assign(to + each->first.substr(from.size()), std::move(each->second));
            each = nodes.erase(each);
        } else {
            ++each;
        }
    }
    for (auto& [path, node] : moved) {
        nodes.insert_or_assign(path, std::move(node));
    }
    return kAFCSuccess;
}

AFCError FakeAFC::AFCRemovePath(AFCConnectionRef connection, const std::string& path) {
    const std::lock_guard guard(mutex_);
    if (const AFCError status = enter("AFCRemovePath", path, connection); status != kAFCSuccess) {
        return status;
    }
    auto& nodes = treeAt(connection);
    const auto found = nodes.find(path);
    if (found == nodes.end()) {
        return answer(kAFCObjectNotFound);
    }
    const auto below = nodes.upper_bound(path + "/");
    if (below != nodes.end() && below->first.starts_with(path + "/")) {
        return answer(kAFCDirectoryNotEmpty);
    }
    nodes.erase(found);
    return kAFCSuccess;
}

AFCError FakeAFC::AFCLinkPath(AFCConnectionRef connection, AFCLinkType type,
                              const std::string& first, const std::string& second) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enter(
        "AFCLinkPath",
        std::to_string(static_cast<std::uint64_t>(type)) + " " + first + " " + second, connection);
    if (status != kAFCSuccess) {
        return status;
    }
    auto& nodes = treeAt(connection);
    if (type == kAFCSymbolicLink) {
        nodes.insert_or_assign(first, Node{.format = "S_IFLNK", .linkTarget = second});
        return kAFCSuccess;
    }
    if (!nodes.contains(first)) {
        return answer(kAFCObjectNotFound);
    }
    nodes.insert_or_assign(second, nodes.at(first));
    return kAFCSuccess;
}

AFCError FakeAFC::AFCTruncatePath(AFCConnectionRef connection, const std::string& path,
                                  std::uint64_t size) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enter("AFCTruncatePath", path, connection);
    if (status == kAFCSuccess) {
        treeAt(connection)[path].content.resize(size);
    }
    return status;
}

AFCError FakeAFC::AFCSetModificationTime(AFCConnectionRef connection, const std::string& path,
                                         std::uint64_t nanoseconds) {
    const std::lock_guard guard(mutex_);
    const AFCError status = enter("AFCSetModificationTime", path, connection);
    if (status == kAFCSuccess) {
        treeAt(connection)[path].modified = std::to_string(nanoseconds);
    }
    return status;
}

AFCError FakeAFC::lastFailure() const {
    return lastFailureOfThread;
}

void FakeAFC::forgetFailure() {
    lastFailureOfThread = kAFCSuccess;
}

}  // namespace quillbox::fakes
