// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/Log.h"

#include <memory>
#include <string>
#include <vector>

namespace quillbox::desktop {

/// The volumes as bookmarks among the places of KDE's file dialogs and file manager, which list
/// other file systems of this kind not by themselves. The file is shared with the desktop: only
/// bookmarks with this program's own mark are touched, everything else stays letter by letter, and
/// a file that cannot be understood stays as it is. Where there is no such file none is made: the
/// desktop fills it with its own places first. Main thread; never looks at a volume.
class Places {
public:
    /// `owner` marks the program's bookmarks and names their icon. The log must outlive this.
    Places(Log& log, const std::string& owner);
    /// Removes what was added.
    ~Places();
    Places(const Places&) = delete;
    Places& operator=(const Places&) = delete;

    /// From now on these volumes are in the places, by the paths where they are mounted. Bookmarks
    /// of volumes that are mounted no more, of an earlier start, go too.
    void show(const std::vector<std::string>& paths);

private:
    class Shelf;
    const std::unique_ptr<Shelf> shelf_;
};

}  // namespace quillbox::desktop
