// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace quillbox {

class Preferences;

/// Copies of settings that the volumes' callbacks and the menus read often. NO or 0 until
/// `setDefaultPrefsIfFirstRun` has run. Written on the main thread, read on any.
extern std::atomic<bool> isShowAppIconWhenMounted_;
/// Kept in step with its key, but read by nobody: start-up asks the store.
extern std::atomic<bool> isShowWelcomeController_;
extern std::atomic<bool> isOnlyShowFileSharingApp_;
/// 1: an application's volume shows its "/Documents" only; every other value: its whole area.
extern std::atomic<std::int64_t> appMountPathIndex_;
extern std::atomic<bool> isLoadAppsIconBeforeStart_;
extern std::atomic<bool> isMountLastPoint_;
extern std::atomic<bool> isUseCustomizeMountName_;

/// Fills all seven from the store.
void loadCachedFlags(const Preferences& preferences);
/// Gives all seven the values of a first run.
void setCachedFlagsToDefaults();
/// Gives all seven the value that they have when the process starts.
void clearCachedFlags();

}  // namespace quillbox
