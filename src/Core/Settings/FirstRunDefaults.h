// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

class Bundle;
class Log;
class LoginItems;
class Preferences;

/// Once at start, before any device is handled. A store without `setting_isAfterFirstRun` (its
/// presence counts, not its value) gets the first run's settings, and a login item of this program
/// that is left from earlier is removed; any other store is only read, into the cached flags. Then
/// the store is flushed. Main thread.
void setDefaultPrefsIfFirstRun(Preferences& preferences, LoginItems& loginItems,
                               const Bundle& bundle, Log& log);

}  // namespace quillbox
