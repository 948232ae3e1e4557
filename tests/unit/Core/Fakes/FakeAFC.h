// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "CallRecord.h"
#include "Core/Platform/AFC.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quillbox::fakes {

using InfoPairs = std::vector<std::pair<std::string, std::string>>;

/// One item of a device's tree.
struct Node {
    std::string format = "S_IFREG";
    std::string content{};
    std::string linkTarget{};
    std::string modified = "1500000000123456789";
    std::string born = "1400000000000000000";
    std::string links = "1";
    std::optional<InfoPairs> info{};  ///< told instead of what the fields say
};

/// The items of one connection root, by absolute path.
using Tree = std::map<std::string, Node>;

/// AFC over trees in memory. It holds callers to the port's rules: handles of closed connections
/// serve nothing, and closing what is not open is a violation. Any thread.
class FakeAFC final : public AFC {
public:
    explicit FakeAFC(CallRecord& record) : record_(record) {}

    /// A started service that serves a tree. Trees are known by name: "Root", "Media", an
    /// application's identifier.
    AFCConnectionRef startService(const std::string& treeName);
    Tree& tree(const std::string& name);
    void addDirectory(const std::string& treeName, const std::string& path);
    void addFile(const std::string& treeName, const std::string& path, std::string content);
    std::string content(const std::string& treeName, const std::string& path);
    bool exists(const std::string& treeName, const std::string& path);

    /// Names that a listing of this path gives, in this order, instead of what the tree holds.
    void scriptListing(const std::string& path, std::vector<std::string> names);
    /// Answers this key without a value.
    void leaveOutValueOf(const std::string& key);
    /// What the device tells of itself, on connections to one tree or to all that have none.
    void setDeviceInfo(InfoPairs info, const std::string& treeName = {});
    /// Opens files in every mode from now on; else only in those that callers may use.
    void acceptEveryMode();
    /// The most bytes that the next reads give, one after the other.
    void scriptReads(std::deque<std::uint64_t> lengths);
    /// Runs something once, when the next key/value answer has been closed.
    void runAfterNextAnswer(std::function<void()> work);
    /// Runs something once, while the next connection that closes is still open.
    void runBeforeNextClose(std::function<void()> work);

    std::size_t openConnections() const;
    std::size_t openFiles() const;
    std::size_t openDirectories() const;
    std::size_t openAnswers() const;
    /// The name of the tree that a connection serves; "" for a number that is none.
    std::string treeOf(AFCConnectionRef connection) const;
    /// Calls that no caller should make.
    std::vector<std::string> violations() const;

    AFCError AFCConnectionOpen(AFCConnectionRef service, std::uint32_t ioTimeout,
                               AFCConnectionRef* connection) override;
    AFCError AFCConnectionClose(AFCConnectionRef connection) override;
    AFCError AFCDeviceInfoOpen(AFCConnectionRef connection, AFCKeyValueRef* info) override;
    AFCError AFCFileInfoOpen(AFCConnectionRef connection, const std::string& path,
                             AFCKeyValueRef* info) override;
    AFCError AFCKeyValueRead(AFCKeyValueRef info, const char** key, const char** value) override;
    AFCError AFCKeyValueClose(AFCKeyValueRef info) override;
    AFCError AFCDirectoryOpen(AFCConnectionRef connection, const std::string& path,
                              AFCDirectoryRef* directory) override;
    AFCError AFCDirectoryRead(AFCConnectionRef connection, AFCDirectoryRef directory,
                              const char** name) override;
    AFCError AFCDirectoryClose(AFCConnectionRef connection, AFCDirectoryRef directory) override;
    AFCError AFCDirectoryCreate(AFCConnectionRef connection, const std::string& path) override;
    AFCError AFCFileRefOpen(AFCConnectionRef connection, const std::string& path,
                            std::uint64_t mode, AFCFileRef* file) override;
    AFCError AFCFileRefSeek(AFCConnectionRef connection, AFCFileRef file, std::int64_t offset,
                            std::uint64_t whence) override;
    AFCError AFCFileRefRead(AFCConnectionRef connection, AFCFileRef file, void* buffer,
                            std::uint64_t* length) override;
    AFCError AFCFileRefWrite(AFCConnectionRef connection, AFCFileRef file, const void* buffer,
                             std::uint64_t length) override;
    AFCError AFCFileRefSetFileSize(AFCConnectionRef connection, AFCFileRef file,
                                   std::uint64_t size) override;
    AFCError AFCFileRefClose(AFCConnectionRef connection, AFCFileRef file) override;
    AFCError AFCRenamePath(AFCConnectionRef connection, const std::string& from,
                           const std::string& to) override;
    AFCError AFCRemovePath(AFCConnectionRef connection, const std::string& path) override;
    AFCError AFCLinkPath(AFCConnectionRef connection, AFCLinkType type, const std::string& first,
                         const std::string& second) override;
    AFCError AFCTruncatePath(AFCConnectionRef connection, const std::string& path,
                             std::uint64_t size) override;
    AFCError AFCSetModificationTime(AFCConnectionRef connection, const std::string& path,
                                    std::uint64_t nanoseconds) override;
    AFCError lastFailure() const override;
    void forgetFailure() override;

private:
    struct Answer {
        AFCConnectionRef connection;
        InfoPairs pairs;
        std::size_t next = 0;
    };

    struct Listing {
        AFCConnectionRef connection;
        std::vector<std::string> names;
        std::size_t next = 0;
    };

    struct OpenFile {
        AFCConnectionRef connection;
        std::string path;
        std::uint64_t mode;
        std::uint64_t position = 0;
    };

    /// Records a call and tells the status it must answer: the scripted one, or that the
    /// connection is lost.
    AFCError enter(const std::string& kind, const std::string& arguments,
                   AFCConnectionRef connection);
    AFCError enterFile(const std::string& kind, const std::string& arguments,
                       AFCConnectionRef connection, AFCFileRef file);

    Tree& treeAt(AFCConnectionRef connection) { return trees_[connections_.at(connection)]; }

    CallRecord& record_;
    mutable std::mutex mutex_;
    std::uint64_t lastNumber_ = 100;
    std::map<std::string, Tree> trees_;
    std::map<AFCConnectionRef, std::string> services_;
    std::map<AFCConnectionRef, std::string> connections_;
    std::map<AFCKeyValueRef, Answer> answers_;
    std::map<AFCDirectoryRef, Listing> listings_;
    std::map<AFCFileRef, OpenFile> files_;
    std::set<AFCFileRef> goneFiles_;  ///< went with their connections; closing them is no harm
    std::map<std::string, std::vector<std::string>> scriptedListings_;
    std::string keyWithoutValue_;
    bool acceptsEveryMode_ = false;
    std::deque<std::uint64_t> readLengths_;
    /// By tree; under "" what every other tree tells.
    std::map<std::string, InfoPairs> deviceInfo_{{"",
                                                  {{"Model", "iPhone1,1"},
                                                   {"FSTotalBytes", "17179869184"},
                                                   {"FSFreeBytes", "1073741824"},
                                                   {"FSBlockSize", "4096"}}}};
    std::vector<std::string> violations_;
    std::function<void()> afterNextAnswer_;
    std::function<void()> beforeNextClose_;
};

}  // namespace quillbox::fakes
