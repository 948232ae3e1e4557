// SPDX-License-Identifier: GPL-3.0-or-later
#include "Core/Windows/PreferencesController.h"

#include "Core/Platform/LogLine.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Settings/FirstRunDefaults.h"
#include "Core/Settings/LoginItem.h"
#include "Core/Settings/SettingsKeys.h"
#include "Core/Volumes/CommonData.h"

namespace quillbox {

namespace {

std::unique_ptr<PreferencesController> g_SingletonPreferencesCon;

Preferences& store() {
    return CommonData::sharedInstance().platform().preferences;
}

}  // namespace

PreferencesController::Outlets::Outlets(InterfaceFile& file)
    : pt_MountPath(file.pathControl("pt_MountPath")),
      chkBx_openQuillboxOnComputerStart(file.checkBox("chkBx_openQuillboxOnComputerStart")),
      chkBx_allowsAFC2Access(file.checkBox("chkBx_allowsAFC2Access")),
      chkBx_changeNameOnCopyImages2DCIM(file.checkBox("chkBx_changeNameOnCopyImages2DCIM")),
      chkBx_isOnlyShowFileSharingApp(file.checkBox("chkBx_isOnlyShowFileSharingApp")),
      chkBx_isLoadAppsIconBeforeStart(file.checkBox("chkBx_isLoadAppsIconBeforeStart")),
      chkBx_isShowAppIconWhenMounted(file.checkBox("chkBx_isShowAppIconWhenMounted")),
      chkBx_isUseCustomizeMountName(file.checkBox("chkBx_isUseCustomizeMountName")),
      tf_customizeMountName(file.textField("tf_customizeMountName")),
      seg_mountMode(file.segmentedControl("seg_mountMode")),
      chkBx_isMountLastPoint(file.checkBox("chkBx_isMountLastPoint")),
      popbtn_appMountPathIndex(file.popUpButton("popbtn_appMountPathIndex")) {}

PreferencesController& PreferencesController::sharedInstance() {
    if (!g_SingletonPreferencesCon) {
        init();
        log("sharedInstance");
    }
    return *g_SingletonPreferencesCon;
}

PreferencesController& PreferencesController::init() {
    if (!g_SingletonPreferencesCon) {
        g_SingletonPreferencesCon = std::make_unique<PreferencesController>(Key{});
    }
    return *g_SingletonPreferencesCon;
}

void PreferencesController::resetSharedInstance() {
    g_SingletonPreferencesCon.reset();
}

PreferencesController::PreferencesController(Key /*key*/)
    : WindowController("Preferences"), outlets_(file()) {
    using Self = PreferencesController;
    connect<Self>(*this,
                  {{"chkBxChanged:", &Self::chkBxChanged},
                   {"allowsAFC2Access:", &Self::allowsAFC2Access},
                   {"changeNameOnCopyImages2DCIM:", &Self::changeNameOnCopyImages2DCIM},
                   {"useCustomizeMountNameChanged:", &Self::useCustomizeMountNameChanged},
                   {"showAppIconWhenMountedChanged:", &Self::showAppIconWhenMountedChanged},
                   {"onlyShowFileSharingAppChanged:", &Self::onlyShowFileSharingAppChanged},
                   {"loadAppsIconBeforeStartChanged:", &Self::loadAppsIconBeforeStartChanged},
                   {"appMountPathChanged:", &Self::appMountPathChanged},
                   {"mountDiskModeChanged:", &Self::mountDiskModeChanged},
                   {"mountLastPoint:", &Self::mountLastPoint},
                   {"resetSettings:", &Self::resetSettings}});
    window().setWillCloseHandler([this] { windowWillClose(); });
    awakeFromNib();
}

PreferencesController::~PreferencesController() {
    window().setWillCloseHandler({});
}

void PreferencesController::setDefaultPrefsIfFirstRun() {
    const Platform& platform = CommonData::sharedInstance().platform();
    quillbox::setDefaultPrefsIfFirstRun(platform.preferences, platform.loginItems, platform.bundle,
                                        platform.log);
}

void PreferencesController::showPreferences() {
    log("showPreferences");
    present();
}

void PreferencesController::awakeFromNib() {
    const auto& preferences = store();
    const auto show = [&preferences](CheckBox& box, std::string_view key) {
        box.setState(preferences.boolForKey(key));
    };
    // What is really in place counts, not what was once wanted.
    outlets_.chkBx_openQuillboxOnComputerStart.setState(
        isStartupItem(platform().loginItems, platform().bundle));
    show(outlets_.chkBx_allowsAFC2Access, setting_allowsAFC2Access);
    show(outlets_.chkBx_changeNameOnCopyImages2DCIM, setting_changeNameOnCopyImages2DCIM);
    show(outlets_.chkBx_isOnlyShowFileSharingApp, setting_isOnlyShowFileSharingApp);
    show(outlets_.chkBx_isLoadAppsIconBeforeStart, setting_isLoadAppsIconBeforeStart);
    outlets_.popbtn_appMountPathIndex.selectItemAtIndex(
        preferences.integerForKey(setting_appMountPathIndex));
    show(outlets_.chkBx_isShowAppIconWhenMounted, setting_isShowAppIconWhenMounted);
    show(outlets_.chkBx_isMountLastPoint, setting_isMountLastPoint);
    show(outlets_.chkBx_isUseCustomizeMountName, setting_isUseCustomizeMountName);
    outlets_.tf_customizeMountName.setStringValue(
        preferences.stringForKey(setting_customizeMountName).value_or(""));
    outlets_.tf_customizeMountName.setEnabled(
        preferences.boolForKey(setting_isUseCustomizeMountName));
    outlets_.seg_mountMode.setSelectedSegment(preferences.integerForKey(setting_mountDiskMode));
}

void PreferencesController::chkBxChanged(const void* /*sender*/) {
    log("chkBxChanged:");
    const bool isOn = outlets_.chkBx_openQuillboxOnComputerStart.state();
    store().setObject(setting_openQuillboxOnComputerStart, isOn);
    store().synchronize();
    setStartupItem(isOn, platform().loginItems, platform().bundle, platform().log);
}

void PreferencesController::allowsAFC2Access(const void* /*sender*/) {
    const bool isOn = outlets_.chkBx_allowsAFC2Access.state();
    store().setObject(setting_allowsAFC2Access, isOn);
    if (isOn) {
        store().setObject(setting_changeNameOnCopyImages2DCIM, false);
        outlets_.chkBx_changeNameOnCopyImages2DCIM.setState(false);
    }
    store().synchronize();
}

void PreferencesController::changeNameOnCopyImages2DCIM(const void* /*sender*/) {
    const bool isOn = outlets_.chkBx_changeNameOnCopyImages2DCIM.state();
    store().setObject(setting_changeNameOnCopyImages2DCIM, isOn);
    if (isOn) {
        outlets_.chkBx_allowsAFC2Access.setState(false);
        store().setObject(setting_allowsAFC2Access, false);
    }
    store().synchronize();
}

void PreferencesController::useCustomizeMountNameChanged(const void* /*sender*/) {
    log("useCustomizeMountNameChanged:");
    keepFlag(outlets_.chkBx_isUseCustomizeMountName, isUseCustomizeMountName_,
             setting_isUseCustomizeMountName);
    keepCustomName(outlets_.tf_customizeMountName);
    logValue("isUseCustomizeMountName_:", isUseCustomizeMountName_);
    outlets_.tf_customizeMountName.setEnabled(store().boolForKey(setting_isUseCustomizeMountName));
    store().synchronize();
}

void PreferencesController::showAppIconWhenMountedChanged(const void* /*sender*/) {
    log("showAppIconWhenMountedChanged:");
    keepFlag(outlets_.chkBx_isShowAppIconWhenMounted, isShowAppIconWhenMounted_,
             setting_isShowAppIconWhenMounted);
    // The line names one flag and tells another's value; who reads logs is used to it.
    logValue("isShowAppIconWhenMounted_:", isOnlyShowFileSharingApp_);
    store().synchronize();
}

void PreferencesController::onlyShowFileSharingAppChanged(const void* /*sender*/) {
    log("onlyShowFileSharingAppChanged:");
    keepFlag(outlets_.chkBx_isOnlyShowFileSharingApp, isOnlyShowFileSharingApp_,
             setting_isOnlyShowFileSharingApp);
    logValue("isOnlyShowFileSharingApp_:", isOnlyShowFileSharingApp_);
    store().synchronize();
}

void PreferencesController::loadAppsIconBeforeStartChanged(const void* /*sender*/) {
    log("loadAppsIconBeforeStartChanged:");
    keepFlag(outlets_.chkBx_isLoadAppsIconBeforeStart, isLoadAppsIconBeforeStart_,
             setting_isLoadAppsIconBeforeStart);
    logValue("isLoadAppsIconBeforeStart_:", isLoadAppsIconBeforeStart_);
    store().synchronize();
}

void PreferencesController::appMountPathChanged(const void* /*sender*/) {
    log("appMountPathChanged:");
    appMountPathIndex_ = outlets_.popbtn_appMountPathIndex.indexOfSelectedItem();
    store().setObject(setting_appMountPathIndex, appMountPathIndex_.load());
    logValue("appMountPathIndex_:", appMountPathIndex_);
    store().synchronize();
}

void PreferencesController::mountDiskModeChanged(const void* sender) {
    log("mountDiskModeChanged:");
    const std::int64_t mode = outlets_.seg_mountMode.selectedSegment();
    store().setObject(setting_mountDiskMode, mode);
    logValue("mountDiskMode:", mode);
    store().synchronize();
    showAlert(sender);
}

void PreferencesController::mountLastPoint(const void* /*sender*/) {
    log("mountLastPoint:");
    keepFlag(outlets_.chkBx_isMountLastPoint, isMountLastPoint_, setting_isMountLastPoint);
    logValue("isMountLastPoint_:", isMountLastPoint_);
    store().synchronize();
}

void PreferencesController::resetSettings(const void* /*sender*/) {
    quillbox::resetSettings(platform().preferences, platform().loginItems, platform().bundle,
                            platform().log);
    awakeFromNib();
}

void PreferencesController::showAlert(const void* /*sender*/) {
    const Alert alert{
        "Mount disk mode was changed.", "This need re-mount disk to take effect!", {"OK"}};
    window().beginAlertSheet(alert, [this, alert](int returnCode) {
        saveProjectAlertDidEnd(alert, returnCode, nullptr);
    });
}

void PreferencesController::saveProjectAlertDidEnd(const Alert& /*alert*/, int /*returnCode*/,
                                                   void* /*contextInfo*/) {}

void PreferencesController::windowWillClose() {
    window().makeFirstResponder();
    log("windowWillClose:");
    keepCustomName(outlets_.tf_customizeMountName);
    store().synchronize();
}

void PreferencesController::log(std::string_view text) {
    logLine(platform().log, LogLevel::Info, text);
}

void PreferencesController::logValue(std::string_view name, std::int64_t value) {
    logLine(platform().log, LogLevel::Info, name, value);
}

void PreferencesController::keepFlag(const CheckBox& box, std::atomic<bool>& flag,
                                     std::string_view key) {
    flag = box.state();
    store().setObject(key, flag.load());
}

void PreferencesController::keepCustomName(const TextField& field) {
    store().setObject(setting_customizeMountName, field.stringValue());
}

}  // namespace quillbox
