// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/Session/PodPhone.h"
#include "Core/Settings/CachedFlags.h"
#include "Core/Volumes/CommonData.h"
#include "Core/Windows/AllWindows.h"
#include "FakeAFC.h"
#include "FakeDesktop.h"
#include "FakeHost.h"
#include "FakeHostFiles.h"
#include "FakeImaging.h"
#include "FakeMobileDevice.h"
#include "FakeVolumes.h"
#include "FakeWindows.h"

#include <gtest/gtest.h>

namespace quillbox::fakes {

using Texts = std::vector<std::string>;

/// Every port of the core, faked.
struct World {
    World() = default;

    explicit World(Imaging& another) : imaging(&another) {}

    CallRecord calls;
    FakeAFC afc{calls};
    FakeMobileDevice devices{calls, afc};
    FakeNotificationCenter notifications;
    FakeUserFileSystems fileSystems{calls, notifications};
    FakePreferences preferences{calls};
    FakeLoginItems loginItems;
    FakeWorkspace workspace;
    FakeHostFiles files{calls};
    FakeImaging images{files};
    Imaging* imaging = &images;  ///< `images`, or another with real pixels
    FakeBundle bundle;
    FakeCollation collation;
    FakeLocks locks{calls};
    FakeInterfaceFiles interfaceFiles{calls};
    FakeApplication application{calls};
    FakeStatusBar statusBar{calls};
    FakeCrashReporter crashReporter{calls};
    FakeFileManager fileManager{calls};
    FakeLog log;
    Platform platform{devices,    afc,           fileSystems, notifications,  preferences,
                      loginItems, workspace,     files,       bundle,         collation,
                      locks,      log,           *imaging,    interfaceFiles, application,
                      statusBar,  crashReporter, fileManager};

    /// A device "Blue Phone" with its serial number and identifier, Media only.
    am_device device{
        {{"DeviceName", "Blue Phone"}, {"SerialNumber", "SERIAL1"}, {"UniqueDeviceID", "UDID1"}},
        {},
        {"com.apple.afc"}};

    /// One more user application on a device.
    static void addApplication(am_device& device, const std::string& identifier,
                               const std::string& name, bool sharesFiles = true) {
        device.applications.insert_or_assign(
            identifier, PropertyDictionary{{"ApplicationType", "User"},
                                           {"CFBundleDisplayName", name},
                                           {"UIFileSharingEnabled", sharesFiles}});
    }
};

/// A fresh world, shared state and cached flags for each test.
class CoreTest : public ::testing::Test {
protected:
    CoreTest() {
        clearCachedFlags();
        CommonData::resetSharedInstance();
        CommonData::setPlatform(world.platform);
    }

    ~CoreTest() override {
        resetWindowControllers();
        CommonData::resetSharedInstance();
        clearCachedFlags();
        EXPECT_EQ(world.afc.violations(), Texts{});
        EXPECT_EQ(world.files.violations, Texts{});
    }

    World world;
};

/// With an open session on the world's device, nothing recorded yet.
class SessionTest : public CoreTest {
protected:
    void SetUp() override {
        world.device.services.insert("com.apple.afc");
        open(false);
    }

    /// Opens the session, on Root where the device is to offer it.
    void open(bool offersRoot) {
        if (offersRoot) {
            world.device.services.insert("com.apple.afc2");
        }
        ASSERT_TRUE(phone.initializePodPhone(&world.device, offersRoot));
        world.calls.take();
        world.log.take();
    }

    /// Makes the session serve the area of one application.
    void switchToApplication(bool documentsOnly) {
        World::addApplication(world.device, "org.example.notes", "Notes");
        appMountPathIndex_ = documentsOnly ? 1 : 0;
        ASSERT_TRUE(phone.setupConnectionForRoot(kRootTagApplication));
        world.afc.addDirectory("org.example.notes", "/Documents");
        world.calls.take();
        world.log.take();
    }

    PodPhone phone{world.platform};
    std::optional<NSError> error;
};

/// The code of an error, 0 for none; of the POSIX domain or the test fails.
inline int codeOf(const std::optional<NSError>& error) {
    if (error) {
        EXPECT_EQ(error->domain, NSPOSIXErrorDomain);
        EXPECT_TRUE(error->userInfo.empty());
    }
    return error ? error->code : 0;
}

}  // namespace quillbox::fakes
