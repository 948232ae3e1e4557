// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/Surface.h"
#include "Core/Platform/Platform.h"
#include "Linux/Desktop/Images.h"
#include "Linux/Device/DeviceLibrary.h"
#include "Linux/Host/AutostartEntries.h"
#include "Linux/Host/CrashReports.h"
#include "Linux/Host/LocalFileManager.h"
#include "Linux/Host/LocalFiles.h"
#include "Linux/Host/LocaleCollation.h"
#include "Linux/Host/LoopLock.h"
#include "Linux/Host/MainLoop.h"
#include "Linux/Host/NotificationHub.h"
#include "Linux/Host/PreferenceFile.h"
#include "Linux/Host/ProgramBundle.h"
#include "Linux/Host/UserFolders.h"
#include "Linux/Volume/FuseUserFileSystems.h"

#include <string>

namespace quillbox::app {

/// The real adapters, wired to each other, and the bundle of ports that they make. Main thread. To
/// be destroyed after everything of the core.
class Wiring {
public:
    Wiring(const Surface& surface, host::MainLoop& loop, Log& log,
           const host::ProgramBundle& bundle, const std::string& volumesFolder,
           const std::string& preferenceFile);
    Wiring(const Wiring&) = delete;
    Wiring& operator=(const Wiring&) = delete;
    ~Wiring();

    const Platform& platform() const { return platform_; }

    FuseUserFileSystems& volumes() { return volumes_; }

    DeviceLibrary& devices() { return devices_; }

private:
    host::ProgramBundle bundle_;
    host::NotificationHub notifications_;
    host::PreferenceFile preferences_;
    host::AutostartEntries loginItems_;
    host::LocalFiles files_;
    host::CrashReports crashes_;
    host::LocalFileManager fileManager_;
    host::LocaleCollation collation_;
    desktop::Images images_;
    host::LoopLocks locks_;
    DeviceLibrary devices_;
    FuseUserFileSystems volumes_;
    Platform platform_;
};

}  // namespace quillbox::app
