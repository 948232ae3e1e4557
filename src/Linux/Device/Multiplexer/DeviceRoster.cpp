// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Multiplexer/DeviceRoster.h"

namespace quillbox::device {

namespace {

/// More numbers than that were never paired before they were announced.
constexpr std::size_t kMaxPairedEarly = 64;
constexpr std::chrono::milliseconds kTick{100};

}  // namespace

std::optional<std::uint32_t> DeviceRoster::best(const std::string& udid) const {
    std::optional<std::uint32_t> found;
    for (const auto& [number, path] : paths_) {
        if (path.udid == udid && (!found || path.byCable)) {
            found = number;
            if (path.byCable) {
                break;
            }
        }
    }
    return found;
}

void DeviceRoster::attached(std::uint32_t number, const std::string& udid, bool byCable,
                            std::uint32_t productId) {
    if (const auto known = paths_.find(number); known != paths_.end()) {
        if (known->second.udid == udid) {
            return;
        }
        remove(number);
    }
    const auto before = best(udid);
    paths_.insert_or_assign(number, Path{udid, byCable});
    const bool wasMissing = missing_.erase(udid) > 0;
    if (!before && !wasMissing) {
        events_.willArrive(udid, number, productId);
        events_.arrived(udid);
    } else if (best(udid) != before) {
        events_.pathChanged(udid);
    }
    if (pairedEarly_.erase(number) > 0) {
        events_.paired(udid);
    }
}

void DeviceRoster::detached(std::uint32_t number) {
    pairedEarly_.erase(number);
    remove(number);
}

void DeviceRoster::remove(std::uint32_t number) {
    const auto known = paths_.find(number);
    if (known == paths_.end()) {
        return;  // pulled out before it was shown
    }
    const std::string udid = known->second.udid;
    const auto before = best(udid);
    paths_.erase(known);
    const auto now = best(udid);
    if (!now) {
        events_.departed(udid);
    } else if (now != before) {
        events_.pathChanged(udid);
    }
}

void DeviceRoster::paired(std::uint32_t number) {
    if (const auto known = paths_.find(number); known != paths_.end()) {
        events_.paired(known->second.udid);
    } else if (pairedEarly_.size() < kMaxPairedEarly) {
        pairedEarly_.insert(number);
    }
}

void DeviceRoster::connectionEnded(Clock::time_point now) {
    connected_ = false;
    for (const auto& [number, path] : paths_) {
        missing_.insert(path.udid);
    }
    paths_.clear();
    pairedEarly_.clear();
    due_ = missing_.empty() ? std::nullopt : std::optional{now + grace_};
}

void DeviceRoster::connectionBegan(Clock::time_point now) {
    connected_ = true;
    due_ = missing_.empty() ? std::nullopt : std::optional{now + grace_};
}

void DeviceRoster::tick(Clock::time_point now) {
    if (!due_ || now < *due_) {
        return;
    }
    for (auto it = missing_.begin(); it != missing_.end();) {
        // A multiplexer that is there and does not list it is sure; one that is gone leaves the
        // device's own connections as witnesses.
        if (connected_ || !events_.hasLiveConnection(*it)) {
            const std::string udid = *it;
            it = missing_.erase(it);
            events_.departed(udid);
        } else {
            ++it;
        }
    }
    due_ = missing_.empty() ? std::nullopt : std::optional{now + kTick};
}

}  // namespace quillbox::device
