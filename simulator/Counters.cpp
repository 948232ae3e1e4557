// SPDX-License-Identifier: GPL-3.0-or-later
#include "Counters.h"

namespace quillbox::simulator {

void Counters::count(std::string_view device, std::string_view kind) {
    const std::scoped_lock lock{mutex_};
    ++counts_[std::string{device}][std::string{kind}];
}

void Counters::reset() {
    const std::scoped_lock lock{mutex_};
    counts_.clear();
}

std::map<std::string, std::map<std::string, std::uint64_t>> Counters::snapshot() const {
    const std::scoped_lock lock{mutex_};
    return counts_;
}

}  // namespace quillbox::simulator
