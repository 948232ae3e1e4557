// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace quillbox::volume {

/// What a volume's option strings ask for.
struct MountOptions {
    std::string volumeName;            ///< "volname=NAME", or empty
    std::string iconPath;              ///< "volicon=PATH", or empty
    bool wantsOtherUsers = false;      ///< "allow_other"
    std::vector<std::string> unknown;  ///< what has no meaning here

    /// "local" and "direct_io" are taken silently: the first has no meaning, and what the second
    /// promises (nothing of a file's content outlives its last close) always holds.
    static MountOptions parse(const std::vector<std::string>& options);
};

/// Whether this user may let others into a volume: root, or with "user_allow_other" on a line of
/// its own in one of the FUSE configuration files.
bool mayAdmitOthers(bool isRoot, const std::vector<std::string>& configurationFiles);
/// Where the FUSE configuration stands.
std::vector<std::string> fuseConfigurationFiles();

/// The one option text that the mount gets, every value escaped: a device may be called
/// "x,allow_other".
std::string fuseOptionText(const std::string& volumeName, bool admitsOthers);

}  // namespace quillbox::volume
