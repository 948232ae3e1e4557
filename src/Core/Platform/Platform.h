// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Platform/AFC.h"
#include "Core/Platform/Application.h"
#include "Core/Platform/Bundle.h"
#include "Core/Platform/FileManager.h"
#include "Core/Platform/HostFiles.h"
#include "Core/Platform/Imaging.h"
#include "Core/Platform/InterfaceFile.h"
#include "Core/Platform/Lock.h"
#include "Core/Platform/Log.h"
#include "Core/Platform/LoginItems.h"
#include "Core/Platform/Menu.h"
#include "Core/Platform/MobileDevice.h"
#include "Core/Platform/NotificationCenter.h"
#include "Core/Platform/Preferences.h"
#include "Core/Platform/StatusBar.h"
#include "Core/Platform/UserFileSystem.h"
#include "Core/Platform/Workspace.h"

namespace quillbox {

/// Everything that the core asks of the world around it. The program fills it once with the real
/// adapters, a test with its own. All references outlive every object of the core.
struct Platform {
    MobileDevice& devices;
    AFC& afc;
    UserFileSystems& fileSystems;
    NotificationCenter& notifications;
    Preferences& preferences;
    LoginItems& loginItems;
    Workspace& workspace;
    HostFiles& files;
    Bundle& bundle;
    Collation& collation;
    Locks& locks;
    Log& log;
    Imaging& images;
    InterfaceFiles& interfaceFiles;
    Application& application;
    StatusBar& statusBar;
    CrashReporter& crashReporter;
    FileManager& fileManager;
};

}  // namespace quillbox
