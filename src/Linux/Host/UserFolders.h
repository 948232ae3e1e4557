// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace quillbox::host {

/// The user's folders, as the XDG base directory rules and the environment give them; a variable
/// that is not an absolute path counts as not set. No slash at the end.

/// `$HOME`, else the home of the user database, else "/".
std::string homeFolder();
/// `$XDG_CONFIG_HOME`, else `~/.config`.
std::string configurationFolder();
/// `$XDG_STATE_HOME`, else `~/.local/state`.
std::string stateFolder();
/// Where reports of crashes are kept: `quillbox/crashes` in the state folder.
std::string crashFolder();
/// `$XDG_CONFIG_DIRS` in order, else `/etc/xdg`.
std::vector<std::string> systemConfigurationFolders();
/// `$TMPDIR`, else `/tmp`.
std::string temporaryFolder();
/// A private folder for locks and sockets of this login: `$XDG_RUNTIME_DIR` where it is set and
/// ours, else `quillbox-UID` in the temporary folder, made with mode 0700. Empty when that name is
/// somebody else's.
std::string runtimeFolder();

}  // namespace quillbox::host
