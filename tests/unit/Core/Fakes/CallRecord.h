// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace quillbox::fakes {

/// What was called, in order, across all fakes that share the record; and which calls are to fail.
/// Any thread.
class CallRecord {
public:
    void add(std::string call) {
        const std::lock_guard guard(mutex_);
        if (isRecording_) {
            calls_.push_back(std::move(call));
        }
    }

    /// All calls since the last take.
    std::vector<std::string> take() {
        const std::lock_guard guard(mutex_);
        return std::exchange(calls_, {});
    }

    /// How many calls since the last take begin with a text.
    std::size_t count(const std::string& start) const {
        const std::lock_guard guard(mutex_);
        return static_cast<std::size_t>(
            std::count_if(calls_.begin(), calls_.end(),
                          [&start](const auto& call) { return call.starts_with(start); }));
    }

    void setRecording(bool isRecording) {
        const std::lock_guard guard(mutex_);
        isRecording_ = isRecording;
    }

    /// The n-th call of a kind from now on (1 is the next) answers a status.
    void fail(const std::string& kind, std::uint32_t status, std::size_t nth = 1) {
        const std::lock_guard guard(mutex_);
        failures_[{kind, counts_[kind] + nth}] = status;
    }

    /// Every call of a kind answers a status, until it is 0 again.
    void failAlways(const std::string& kind, std::uint32_t status) {
        const std::lock_guard guard(mutex_);
        always_[kind] = status;
    }

    /// Counts a call of a kind and tells its scripted status, 0 for none.
    std::uint32_t statusOf(const std::string& kind) {
        const std::lock_guard guard(mutex_);
        const auto found = failures_.find({kind, ++counts_[kind]});
        return found != failures_.end() ? found->second : always_[kind];
    }

private:
    mutable std::mutex mutex_;
    bool isRecording_ = true;
    std::vector<std::string> calls_;
    std::map<std::string, std::size_t> counts_;
    std::map<std::pair<std::string, std::size_t>, std::uint32_t> failures_;
    std::map<std::string, std::uint32_t> always_;
};

}  // namespace quillbox::fakes
