// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quillbox::test {

/// The requests that a device gets.
enum class Request {
    Info,
    List,
    Open,
    Read,
    Write,
    Close,
    Rename,
    Remove,
    MakeFolder,
    Link,
    SetSize,
    SetTime,
    Figures,
};

/// A file system in memory that answers as a device does, and fails, hangs and lies to order.
class MemoryDevice {
public:
    struct Item {
        enum class Kind { Folder, File, Link, Odd } kind = Kind::File;
        std::string content;  ///< of a link its target
        std::int64_t modified = 1'600'000'000'000'000'000;
        std::uint32_t links = 1;
    };

    using ItemPtr = std::shared_ptr<Item>;

    MemoryDevice();

    AFCError info(const std::string& path, Item* item);
    AFCError list(const std::string& path, std::vector<std::string>* names);
    AFCError open(const std::string& path, bool mayCreate, std::uint64_t* file);
    AFCError read(std::uint64_t file, std::uint64_t offset, std::size_t size, std::string* bytes);
    AFCError write(std::uint64_t file, std::uint64_t offset, const std::string& bytes);
    AFCError close(std::uint64_t file);
    AFCError rename(const std::string& from, const std::string& to);
    AFCError remove(const std::string& path);
    AFCError makeFolder(const std::string& path);
    AFCError hardLink(const std::string& existing, const std::string& name);
    AFCError symbolicLink(const std::string& name, const std::string& target);
    AFCError setSize(const std::string& path, std::uint64_t size);
    AFCError setFileSize(std::uint64_t file, std::uint64_t size);
    AFCError setTime(const std::string& path, std::int64_t nanoseconds);
    AFCError figures();

    /// The last failure on this thread since `forgetFailure`.
    static AFCError lastFailure();
    static void forgetFailure();

    // What a test does.

    /// The n-th request of a kind from now on (1 is the next) fails with a status.
    void failNth(Request request, int n, AFCError status);
    /// Every request from now on fails, until `status` is 0.
    void failAll(AFCError status);
    /// Requests of a kind wait until `unblock`.
    void block(Request request);
    void unblock();
    /// How many requests are held right now.
    int held() const;
    int count(Request request) const;
    std::size_t openFiles() const;
    /// Names that `list` gives in addition, whatever they are.
    void addRawNames(std::vector<std::string> names);
    /// Reads from this place on give nothing.
    void endReadsAt(std::uint64_t offset);
    /// Reads give at most so many bytes at once.
    void limitReads(std::size_t most);

    void put(const std::string& path, const std::string& content);
    void putItem(const std::string& path, Item item);
    void putFolder(const std::string& path);
    void putManyFiles(const std::string& folder, std::size_t count);
    std::optional<Item> item(const std::string& path) const;
    std::string content(const std::string& path) const;

    bool has(const std::string& path) const { return item(path).has_value(); }

private:
    AFCError step(std::unique_lock<std::mutex>& lock, Request request);
    static AFCError answer(AFCError status);
    bool isFolder(const std::string& path) const;
    bool isEmpty(const std::string& path) const;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, ItemPtr> items_;
    std::map<std::uint64_t, ItemPtr> files_;
    std::uint64_t nextFile_ = 1;
    std::map<Request, int> counts_;
    std::map<Request, std::map<int, AFCError>> failures_;
    AFCError allFail_ = 0;
    std::optional<Request> blocked_;
    int held_ = 0;
    std::vector<std::string> rawNames_;
    std::size_t readLimit_ = SIZE_MAX;
    std::uint64_t readEnd_ = UINT64_MAX;
};

}  // namespace quillbox::test
