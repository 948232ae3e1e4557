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

/// Gives every setting and every cached flag its first-run value, removes a login item and flushes
/// the store. What else the store holds stays: the first-run mark, and what devices remember. The
/// last two flags are stored as 1 and 0. Main thread.
void resetSettings(Preferences& preferences, LoginItems& loginItems, const Bundle& bundle,
                   Log& log);

}  // namespace quillbox
