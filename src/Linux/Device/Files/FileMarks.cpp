// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Files/FileMarks.h"

namespace quillbox::device {

template <typename Work>
void FileMarks::forEach(Work work) {
    const std::lock_guard lock{mutex_};
    for (const auto& weak : marks_) {
        if (const auto mark = weak.lock()) {
            work(*mark);
        }
    }
}

std::shared_ptr<FileMark> FileMarks::opened(const std::string& path) {
    auto mark = std::make_shared<FileMark>(path);
    const std::lock_guard lock{mutex_};
    std::erase_if(marks_, [](const auto& weak) { return weak.expired(); });
    marks_.push_back(mark);
    return mark;
}

bool FileMarks::isOpen(const std::string& path) {
    bool found = false;
    forEach([&](const FileMark& mark) { found = found || (!mark.moved && mark.path == path); });
    return found;
}

void FileMarks::changes(const std::string& path) {
    forEach([&](FileMark& mark) {
        if (aliases_ || mark.moved || mark.path == path) {
            mark.stale = true;
        }
    });
}

void FileMarks::changes(const FileMark& changed) {
    forEach([&](FileMark& mark) {
        if (&mark != &changed &&
            (aliases_ || mark.moved || changed.moved || mark.path == changed.path)) {
            mark.stale = true;
        }
    });
}

void FileMarks::namesChange() {
    forEach([](FileMark& mark) {
        mark.moved = true;
        mark.stale = true;
    });
}

}  // namespace quillbox::device
