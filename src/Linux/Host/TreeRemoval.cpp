// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Host/TreeRemoval.h"

#include "Linux/Host/FileDescriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <vector>

namespace quillbox::host {

namespace {

struct DirectoryClose {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

/// Opens a folder by its name in another one, refused by the kernel itself at a link or a mount
/// point: nothing on a mounted volume is asked, so one that hangs cannot hold us up.
FileDescriptor openFolder(int parent, const char* name) {
    open_how how = {};
    how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return FileDescriptor(static_cast<int>(::syscall(SYS_openat2, parent, name, &how, sizeof how)));
}

bool removeEntry(int parent, const char* name);

bool emptyFolder(FileDescriptor folder) {
    const std::unique_ptr<DIR, DirectoryClose> directory(::fdopendir(folder.get()));
    if (!directory) {
        return false;
    }
    const int descriptor = folder.release();  // the directory stream closes it
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    bool all = true;
    for (const auto& each : names) {
        all = removeEntry(descriptor, each.c_str()) && all;
    }
    return all;
}

bool removeEntry(int parent, const char* name) {
    if (::unlinkat(parent, name, 0) == 0) {
        return true;
    }
    if (errno != EISDIR && errno != EPERM) {
        return false;
    }
    FileDescriptor folder = openFolder(parent, name);
    return folder && emptyFolder(std::move(folder)) && ::unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

}  // namespace

bool removeTree(const std::string& path) {
    std::string_view trimmed = path;
    while (trimmed.size() > 1 && trimmed.back() == '/') {
        trimmed.remove_suffix(1);
    }
    const auto slash = trimmed.rfind('/');
    const std::string name(slash == std::string_view::npos ? trimmed : trimmed.substr(slash + 1));
    const std::string parent(slash == std::string_view::npos ? std::string_view(".")
                                                             : trimmed.substr(0, slash + 1));
    if (name.empty() || name == "." || name == "..") {
        return false;
    }
    const FileDescriptor folder(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder && removeEntry(folder.get(), name.c_str());
}

}  // namespace quillbox::host
