// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Volume/GatheredWrites.h"

#include <algorithm>
#include <cstring>

namespace quillbox::volume {

void GatheredWrites::makeRoom(Run& run, std::size_t size) {
    if (size <= run.room) {
        return;
    }
    constexpr std::size_t kLeast = 64U << 10U;
    const std::size_t room = std::clamp(run.room * 4, std::max(size, kLeast), kMostOfAFile);
    auto bytes = std::make_unique_for_overwrite<char[]>(room);
    if (run.size > 0) {
        std::memcpy(bytes.get(), run.bytes.get(), run.size);
    }
    run.bytes = std::move(bytes);
    run.room = room;
}

GatheredWrites::Added GatheredWrites::add(NodeId node, HandleId handle, const char* bytes,
                                          std::size_t size, std::int64_t offset) {
    const std::lock_guard lock(mutex_);
    if (size >= kLarge || total_ + size > kMostInAll) {
        return Added::No;
    }
    const auto [place, isNew] = runs_.try_emplace(node);
    Run& run = place->second;
    if (isNew) {
        run.node = node;
        run.handle = handle;
        run.offset = offset;
        ++count_;
    } else if (run.handle != handle || offset != run.offset + static_cast<std::int64_t>(run.size) ||
               run.size + size > kMostOfAFile) {
        return Added::No;
    }
    makeRoom(run, run.size + size);
    std::memcpy(run.bytes.get() + run.size, bytes, size);
    run.size += size;
    total_ += size;
    return runs_.size() == 1 && isNew ? Added::First : Added::More;
}

std::optional<GatheredWrites::Run>
GatheredWrites::takeOut(std::unordered_map<NodeId, Run>::iterator place) {
    if (place == runs_.end()) {
        return std::nullopt;
    }
    Run run = std::move(place->second);
    runs_.erase(place);
    total_ -= run.size;
    --count_;
    return run;
}

std::optional<GatheredWrites::Run> GatheredWrites::take(NodeId node) {
    if (isEmpty()) {
        return std::nullopt;
    }
    const std::lock_guard lock(mutex_);
    return takeOut(runs_.find(node));
}

std::optional<GatheredWrites::Run> GatheredWrites::takeAny() {
    if (isEmpty()) {
        return std::nullopt;
    }
    const std::lock_guard lock(mutex_);
    return takeOut(runs_.begin());
}

}  // namespace quillbox::volume
