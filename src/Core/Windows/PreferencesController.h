// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Windows/WindowController.h"

#include <atomic>
#include <string_view>

namespace quillbox {

/// The preferences window: every control writes its setting at once and flushes the store. One for
/// the process, made on first use and kept. Works on the platform of `CommonData`. Main thread.
class PreferencesController : public WindowController {
public:
    /// Only through `init`.
    explicit PreferencesController(Key key);

    /// The one controller, made at the first call.
    static PreferencesController& sharedInstance();
    /// The same without a log line: a second controller never comes into being.
    static PreferencesController& init();
    /// Forgets the controller and its window.
    static void resetSharedInstance();

    ~PreferencesController();

    /// Gives an unused store the settings of a first run and fills the cached flags.
    static void setDefaultPrefsIfFirstRun();

    void showPreferences();
    /// Makes every control show its setting.
    void awakeFromNib();

    // Actions: called by the control that the name tells of, after the user changed it -----------

    /// Open at login.
    void chkBxChanged(const void* sender);
    /// Switched on, it switches the camera-roll names off.
    void allowsAFC2Access(const void* sender);
    /// Switched on, it switches the access to the whole file system off.
    void changeNameOnCopyImages2DCIM(const void* sender);
    void useCustomizeMountNameChanged(const void* sender);
    void showAppIconWhenMountedChanged(const void* sender);
    void onlyShowFileSharingAppChanged(const void* sender);
    void loadAppsIconBeforeStartChanged(const void* sender);
    void appMountPathChanged(const void* sender);
    /// Says each time that a volume has to be mounted again.
    void mountDiskModeChanged(const void* sender);
    void mountLastPoint(const void* sender);
    /// Gives every setting but the first-run mark its first-run value.
    void resetSettings(const void* sender);

    void showAlert(const void* sender);
    /// The end of that alert; nothing follows from it.
    void saveProjectAlertDidEnd(const Alert& alert, int returnCode, void* contextInfo);
    /// Commits an edit in progress and keeps the custom name.
    void windowWillClose();

private:
    /// The controls, by the names of their outlets.
    struct Outlets {
        explicit Outlets(InterfaceFile& file);

        PathControl& pt_MountPath;  ///< shows a place; no setting belongs to it
        CheckBox& chkBx_openQuillboxOnComputerStart;
        CheckBox& chkBx_allowsAFC2Access;
        CheckBox& chkBx_changeNameOnCopyImages2DCIM;
        CheckBox& chkBx_isOnlyShowFileSharingApp;
        CheckBox& chkBx_isLoadAppsIconBeforeStart;
        CheckBox& chkBx_isShowAppIconWhenMounted;
        CheckBox& chkBx_isUseCustomizeMountName;
        TextField& tf_customizeMountName;
        SegmentedControl& seg_mountMode;
        CheckBox& chkBx_isMountLastPoint;
        PopUpButton& popbtn_appMountPathIndex;
    };

    static void log(std::string_view text);
    /// Takes a check box's state over into a flag and its setting.
    static void keepFlag(const CheckBox& box, std::atomic<bool>& flag, std::string_view key);
    static void keepCustomName(const TextField& field);
    static void logValue(std::string_view name, std::int64_t value);

    const Outlets outlets_;
};

}  // namespace quillbox
