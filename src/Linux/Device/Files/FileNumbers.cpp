// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/FileNumbers.h"

namespace quillbox::device {

FileNumbers::Opening FileNumbers::begin(bool mayGuess) {
    Opening opening;
    if (mayGuess) {
        opening.alone_ = std::unique_lock{openings_, std::try_to_lock};
    }
    if (opening.alone_) {
        opening.guess = guess();
    }
    if (!opening.guess) {
        opening.alone_ = {};
        opening.beside_ = std::shared_lock{openings_};
    }
    return opening;
}

std::optional<std::uint64_t> FileNumbers::guess() {
    const std::lock_guard lock{mutex_};
    const std::uint64_t next = last_ + 1;
    const bool isGood =
        areRead_ && inRow_ >= kEnough && open_.size() < kMostOpen && !open_.contains(next);
    return isGood ? std::optional{next} : std::nullopt;
}

void FileNumbers::opened(std::uint64_t number) {
    const std::lock_guard lock{mutex_};
    inRow_ = number == last_ + 1 ? inRow_ + 1 : 0;
    last_ = number;
    open_.insert(number);
}

void FileNumbers::closed(std::uint64_t number) {
    const std::lock_guard lock{mutex_};
    open_.erase(number);
}

void FileNumbers::used(bool wasReadFromBeginning) {
    const std::lock_guard lock{mutex_};
    areRead_ = wasReadFromBeginning;
}

}  // namespace quillbox::device
