// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <shared_mutex>

namespace quillbox::device {

/// The numbers that a device gives the open files of one connection. Devices count them up: then
/// the next one can be guessed, and the beginning of a file be asked for together with its opening.
/// A guess that fails must reach no other file: none is made of a number that is in use, nor while
/// another file is being opened, and while one is out no other file is opened. Any thread.
class FileNumbers {
public:
    /// One file that is being opened; a guess of its number, where there is one.
    class Opening {
    public:
        std::optional<std::uint64_t> guess;

    private:
        friend class FileNumbers;
        std::shared_lock<std::shared_mutex> beside_;
        std::unique_lock<std::shared_mutex> alone_;
    };

    /// Before the request goes out; the value lives until it is answered. May wait for another
    /// file's opening. A guess is made only where `mayGuess`, and where files that were opened
    /// before were read from their beginning.
    Opening begin(bool mayGuess);
    /// The device's answer to an opening that still lives.
    void opened(std::uint64_t number);
    /// The request to close it is on its way.
    void closed(std::uint64_t number);

    /// What was done first with a file that was opened to be read: whether it was read from its
    /// beginning.
    void used(bool wasReadFromBeginning);

private:
    /// Numbers in a row before the next one is guessed.
    static constexpr unsigned kEnough = 2;

    /// Files that are open at most when one more is asked for so: each takes room for its
    /// beginning.
    static constexpr std::size_t kMostOpen = 32;

    std::optional<std::uint64_t> guess();

    std::shared_mutex openings_;  ///< held alone while a guess is out
    std::mutex mutex_;            ///< guards what follows
    std::uint64_t last_ = 0;
    unsigned inRow_ = 0;
    std::set<std::uint64_t> open_;
    bool areRead_ = false;
};

}  // namespace quillbox::device
