// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillbox::device {

/// What the open files of one connection tell each other.
struct FileMark {
    explicit FileMark(std::string name) : path{std::move(name)} {}

    const std::string path;
    std::atomic<bool> stale{false};  ///< the file was changed: what was read ahead is of no use
    std::atomic<bool> moved{false};  ///< it may have another path by now
};

/// The open files of one connection. Any thread.
class FileMarks {
public:
    std::shared_ptr<FileMark> opened(const std::string& path);
    bool isOpen(const std::string& path);

    /// The file at a path is about to be changed.
    void changes(const std::string& path);
    /// The file that is open under a mark is about to be changed.
    void changes(const FileMark& mark);
    /// Names are about to lead to other files.
    void namesChange();

    /// There are files of several names: any change may be one of any file.
    void hasAliases() { aliases_ = true; }

private:
    template <typename Work>
    void forEach(Work work);

    std::mutex mutex_;
    std::vector<std::weak_ptr<FileMark>> marks_;
    std::atomic<bool> aliases_{false};
};

}  // namespace quillbox::device
