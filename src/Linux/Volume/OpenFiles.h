// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/UserFileSystem.h"
#include "Linux/Volume/Nodes.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace quillbox::volume {

/// The number by which the kernel knows an open file or listing; never used twice.
using HandleId = std::uint64_t;

/// What becomes of the writes of one open file after they were answered. Any thread.
class Writing {
public:
    std::atomic<bool> isDirty{false};  ///< something was written since the last flush

    /// Keeps an errno number that whoever wrote was not told of; an earlier one stays.
    void note(int error) {
        std::uint64_t none = 0;
        failure_.compare_exchange_strong(none, ++failures_ << kNumberBits |
                                                   static_cast<std::uint64_t>(error));
    }

    /// The errno number, for whoever wrote; 0 when there is none.
    int take() { return numberOf(failure_.exchange(0)); }

    /// The errno number that another open of the same file is told of, once; it stays here for
    /// whoever wrote.
    int tell(Writing& other) const {
        const std::uint64_t failure = failure_;
        std::uint64_t heard = other.heard_;
        while (failure > heard) {
            if (other.heard_.compare_exchange_weak(heard, failure)) {
                return numberOf(failure);
            }
        }
        return 0;
    }

    /// Whether a flush has anything to do or to tell.
    bool isUnfinished() const { return isDirty || failure_ != 0; }

private:
    static constexpr unsigned kNumberBits = 16;

    static int numberOf(std::uint64_t failure) {
        return static_cast<int>(failure & ((1U << kNumberBits) - 1));
    }

    inline static std::atomic<std::uint64_t> failures_{0};  ///< of all files, so far
    std::atomic<std::uint64_t> failure_{0};  ///< its place among all failures, and its number
    std::atomic<std::uint64_t> heard_{0};    ///< the last failure of another open that was told
};

/// One open of one file.
struct OpenFile {
    NodeId node = 0;
    GMUserData userData;  ///< the delegate's, for every later call of this open
    bool isWritable = false;
    bool isVirtual = false;      ///< made up by the volume: the delegate knows nothing of it
    bool isSynchronous = false;  ///< a write is answered once the device has it
    std::shared_ptr<Writing> writing = std::make_shared<Writing>();
};

/// The files that programs have open. Any thread.
class OpenFiles {
public:
    HandleId add(OpenFile file) {
        const std::lock_guard lock(mutex_);
        const HandleId handle = next_++;
        files_.emplace(handle, std::move(file));
        return handle;
    }

    std::optional<OpenFile> find(HandleId handle) const {
        const std::lock_guard lock(mutex_);
        const auto found = files_.find(handle);
        return found == files_.end() ? std::nullopt : std::optional(found->second);
    }

    /// Some writable open of a node: the way to a file whose path is gone.
    std::optional<OpenFile> writable(NodeId node) const {
        const std::lock_guard lock(mutex_);
        for (const auto& [handle, file] : files_) {
            if (file.node == node && file.isWritable) {
                return file;
            }
        }
        return std::nullopt;
    }

    /// All writable opens.
    std::vector<OpenFile> allWritable() const {
        const std::lock_guard lock(mutex_);
        std::vector<OpenFile> result;
        for (const auto& [handle, file] : files_) {
            if (file.isWritable) {
                result.push_back(file);
            }
        }
        return result;
    }

    std::vector<HandleId> handles() const {
        const std::lock_guard lock(mutex_);
        std::vector<HandleId> result;
        result.reserve(files_.size());
        for (const auto& [handle, file] : files_) {
            result.push_back(handle);
        }
        return result;
    }

    /// Takes a file out; nothing when it is not there (any more).
    std::optional<OpenFile> take(HandleId handle) {
        const std::lock_guard lock(mutex_);
        const auto found = files_.find(handle);
        if (found == files_.end()) {
            return std::nullopt;
        }
        OpenFile file = std::move(found->second);
        files_.erase(found);
        return file;
    }

private:
    mutable std::mutex mutex_;
    HandleId next_ = 1;
    std::map<HandleId, OpenFile> files_;
};

}  // namespace quillbox::volume
