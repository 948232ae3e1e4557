// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <array>

namespace quillbox::desktop {

// The words that the core, its adapters and the wiring hand over to be shown. They are English
// there, since logs, verbs and comparisons want them so, and are translated where they are drawn.
// They stand here a second time for `lupdate`, which collects the texts of the catalogues.

/// Whole texts.
inline constexpr std::array kCoreTexts{
    // The menu.
    QT_TRANSLATE_NOOP("Core", "About Quillbox"),
    QT_TRANSLATE_NOOP("Core", "Preferences…"),
    QT_TRANSLATE_NOOP("Core", "No iPhones Connected..."),
    QT_TRANSLATE_NOOP("Core", "Welcome…"),
    QT_TRANSLATE_NOOP("Core", "Help"),
    QT_TRANSLATE_NOOP("Core", "Quit"),
    QT_TRANSLATE_NOOP("Core", "Reveal In Finder"),
    QT_TRANSLATE_NOOP("Core", "Change Connection Root"),
    QT_TRANSLATE_NOOP("Core", "Mount Device"),
    QT_TRANSLATE_NOOP("Core", "Unmount Device"),
    QT_TRANSLATE_NOOP("Core", "Unmount Device (still writing)"),
    QT_TRANSLATE_NOOP("Core", "Device Info"),
    QT_TRANSLATE_NOOP("Core", "Current Connection Root:"),
    QT_TRANSLATE_NOOP("Core", "Root"),
    QT_TRANSLATE_NOOP("Core", "Media"),
    // Windows.
    QT_TRANSLATE_NOOP("Core", "Hide & Continue"),
    QT_TRANSLATE_NOOP("Core", "Not available"),
    QT_TRANSLATE_NOOP("Core", "N/A"),
    // Alerts.
    QT_TRANSLATE_NOOP("Core", "Mount Failed"),
    QT_TRANSLATE_NOOP("Core", "Mount disk mode was changed."),
    QT_TRANSLATE_NOOP("Core", "This need re-mount disk to take effect!"),
    QT_TRANSLATE_NOOP("Core", "Quillbox ended unexpectedly."),
    QT_TRANSLATE_NOOP("Core", "Nothing here can open it."),
    QT_TRANSLATE_NOOP("Core", "OK"),
    QT_TRANSLATE_NOOP("Core", "Show"),
    // What a device waits for, in tool tips and notifications.
    QT_TRANSLATE_NOOP("Core",
                      "it does not trust this computer yet: unlock the device and tap Trust"),
    QT_TRANSLATE_NOOP("Core", "it is locked: unlock the device"),
    QT_TRANSLATE_NOOP("Core",
                      "trust was refused on the device: unplug, plug in again and tap Trust"),
    QT_TRANSLATE_NOOP("Core", "trust was reset: unplug, plug in and tap Trust"),
    QT_TRANSLATE_NOOP("Core",
                      "it is locked since its start: unlock the device once after its restart"),
    QT_TRANSLATE_NOOP("Core", "it is attached and does not answer: it is tried again"),
    QT_TRANSLATE_NOOP("Core", "it refused to be paired: unplug, plug in again and tap Trust"),
    QT_TRANSLATE_NOOP("Core", "data is still being written"),
    QT_TRANSLATE_NOOP("Core", "another change of the same device"),
    // A device that has not told its name.
    QT_TRANSLATE_NOOP("Core", "Device"),
    QT_TRANSLATE_NOOP("Core", "the device"),
};

/// Texts around values; a value stands for whatever is found in its place.
inline constexpr std::array kCoreTextsWithValues{
    QT_TRANSLATE_NOOP("Core", "Version:%1"),
    QT_TRANSLATE_NOOP("Core", "The volume could not be mounted at %1: %2."),
    QT_TRANSLATE_NOOP("Core", "A report about it was kept on this computer, in %1."),
    QT_TRANSLATE_NOOP("Core", "waiting for %1"),
    QT_TRANSLATE_NOOP("Core", "the root %1 could not be opened: choose a connection root again"),
};

/// What a device is called in messages.
inline constexpr std::array kDeviceLabels{
    QT_TRANSLATE_NOOP("Core", "%1 (serial number %2)"),
    QT_TRANSLATE_NOOP("Core", "%1 (identifier %2)"),
};

}  // namespace quillbox::desktop
