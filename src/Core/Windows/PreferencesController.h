// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillbox {

/// The settings of the user. Works on the platform of `CommonData`. Main thread.
class PreferencesController {
public:
    /// Gives an unused store the settings of a first run and fills the cached flags.
    static void setDefaultPrefsIfFirstRun();
};

}  // namespace quillbox
