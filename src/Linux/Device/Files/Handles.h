// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Device/Files/AfcConnection.h"
#include "Linux/Device/Files/ReadAhead.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::device {

/// The next number for a handle of any kind: never 0, never the same twice in the process.
std::uint64_t nextHandle();

/// Objects by their numbers. Whoever found an object keeps it alive until the call has returned,
/// whatever is closed meanwhile. Any thread.
template <typename Object>
class HandleTable {
public:
    std::uint64_t add(std::shared_ptr<Object> object) {
        const std::uint64_t number = nextHandle();
        const std::lock_guard lock{mutex_};
        objects_.emplace(number, std::move(object));
        return number;
    }

    /// Null for a number that is closed or was never given.
    std::shared_ptr<Object> find(std::uint64_t number) const {
        const std::lock_guard lock{mutex_};
        const auto found = objects_.find(number);
        return found == objects_.end() ? nullptr : found->second;
    }

    /// Takes it out; null for a number that is closed or was never given.
    std::shared_ptr<Object> take(std::uint64_t number) {
        const std::lock_guard lock{mutex_};
        const auto found = objects_.find(number);
        if (found == objects_.end()) {
            return nullptr;
        }
        auto object = std::move(found->second);
        objects_.erase(found);
        return object;
    }

    /// Takes out every one that the test holds for.
    template <typename Test>
    std::vector<std::pair<std::uint64_t, std::shared_ptr<Object>>> takeIf(Test test) {
        std::vector<std::pair<std::uint64_t, std::shared_ptr<Object>>> taken;
        const std::lock_guard lock{mutex_};
        for (auto it = objects_.begin(); it != objects_.end();) {
            if (test(*it->second)) {
                taken.emplace_back(it->first, std::move(it->second));
                it = objects_.erase(it);
            } else {
                ++it;
            }
        }
        return taken;
    }

    template <typename Test>
    std::vector<std::pair<std::uint64_t, std::shared_ptr<Object>>> list(Test test) const {
        std::vector<std::pair<std::uint64_t, std::shared_ptr<Object>>> found;
        const std::lock_guard lock{mutex_};
        for (const auto& [number, object] : objects_) {
            if (test(*object)) {
                found.emplace_back(number, object);
            }
        }
        return found;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::uint64_t, std::shared_ptr<Object>> objects_;
};

/// A number for a service that was started, or for the connection that was made of it.
struct ConnectionHandle {
    std::shared_ptr<AfcConnection> connection;
    bool opened = false;  ///< it is a connection
    std::atomic<bool> closing{false};
};

/// An application's picture that was opened as a file.
struct PictureFile {
    std::shared_ptr<const wire::Bytes> bytes;
    std::uint64_t position = 0;
};

/// One open file.
struct FileHandle {
    std::shared_ptr<AfcConnection> connection;
    std::uint64_t owner = 0;  ///< number of its connection
    std::string path;
    std::uint64_t mode = 0;

    std::mutex mutex;                      ///< guards what follows
    std::uint64_t generation = 0;          ///< the client's that knows it
    std::shared_ptr<PictureFile> picture;  ///< null for a file of the device
    /// Where the user reads or writes next; nothing where only the device knows.
    std::optional<std::uint64_t> position = 0;
    DevicePosition device;
    bool isUsed = false;  ///< something was read or written
    ReadAhead ahead;
    /// Seeks that travel with a transfer.
    std::shared_ptr<AfcOutstanding> seeks = std::make_shared<AfcOutstanding>();
    std::shared_ptr<AfcOutstanding> writes = std::make_shared<AfcOutstanding>();
    std::shared_ptr<FileMark> mark;
};

/// A directory's names. The texts live as long as the number, also past the connection, so that a
/// thread that reads them while another closes the connection reads no freed memory.
struct DirectoryHandle {
    std::uint64_t owner = 0;
    std::vector<std::string> names;
    std::atomic<std::size_t> next{0};
};

/// The pairs of an answer; the same holds for their texts.
struct KeyValueHandle {
    std::uint64_t owner = 0;
    /// Whose information it is; none for other answers. An answer that nobody read goes back
    /// there.
    std::shared_ptr<InformationWindow> window;
    InformationWindow::Answer information;
    std::vector<wire::KeyValue> pairs;
    std::atomic<std::size_t> next{0};
};

/// Every number that is out. Shared by the two ports: a service that one starts, the other opens.
struct Handles {
    HandleTable<ConnectionHandle> connections;
    HandleTable<FileHandle> files;
    HandleTable<DirectoryHandle> directories;
    HandleTable<KeyValueHandle> keyValues;

    bool hasOpenConnection(const Device& device) const;
};

}  // namespace quillbox::device
