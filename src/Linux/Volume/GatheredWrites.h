// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Linux/Volume/OpenFiles.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

namespace quillbox::volume {

/// Small writes that go on where the last one ended, until they are worth a request to the device.
/// One run of bytes for each file; who takes it sends it. Any thread; no call blocks.
class GatheredWrites {
public:
    /// Most bytes of one file that are gathered.
    static constexpr std::size_t kMostOfAFile = 1U << 20U;
    /// Most bytes of all files together.
    static constexpr std::size_t kMostInAll = 4U << 20U;
    /// Writes from this size on are not gathered.
    static constexpr std::size_t kLarge = 512U << 10U;

    /// What was gathered of one file.
    struct Run {
        NodeId node = 0;
        HandleId handle = 0;  ///< through which it was written
        std::int64_t offset = 0;
        std::size_t size = 0;
        std::size_t room = 0;
        std::unique_ptr<char[]> bytes;
    };

    /// What became of a write: not taken in, since it does not go on where the run ends or does not
    /// fit, so that what is gathered of that file must be taken and sent first; the first bytes of
    /// all; or more to what is there.
    enum class Added { No, First, More };

    Added add(NodeId node, HandleId handle, const char* bytes, std::size_t size,
              std::int64_t offset);
    /// Takes what is gathered of a file, or of any.
    std::optional<Run> take(NodeId node);
    std::optional<Run> takeAny();

    bool isEmpty() const { return count_ == 0; }

    /// Of how many files something is gathered.
    std::size_t count() const { return count_; }

private:
    static void makeRoom(Run& run, std::size_t size);
    std::optional<Run> takeOut(std::unordered_map<NodeId, Run>::iterator place);

    std::atomic<std::size_t> count_{0};  ///< of `runs_`
    std::mutex mutex_;
    std::unordered_map<NodeId, Run> runs_;
    std::size_t total_ = 0;
};

}  // namespace quillbox::volume
