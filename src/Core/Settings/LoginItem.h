// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

class Bundle;
class Log;
class LoginItems;

/// Whether this program is among the user's login items: an item's path equals the program's own,
/// character for character. Main thread.
bool isStartupItem(LoginItems& loginItems, const Bundle& bundle);
/// Adds this program at the end of the login items, whether or not it is there already, or removes
/// the first item that starts it and leaves any further one. Logs whether adding worked. Main
/// thread.
void setStartupItem(bool isStartup, LoginItems& loginItems, const Bundle& bundle, Log& log);

}  // namespace quillbox
