// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Wiring.h"

#include "App/SessionVolumeBacking.h"
#include "Linux/Device/Streams/PropertyLists.h"

#include <memory>
#include <span>
#include <utility>

namespace quillbox::app {

Wiring::Wiring(const Surface& surface, host::MainLoop& loop, Log& log,
               const host::ProgramBundle& bundle, const std::string& volumesFolder,
               const std::string& preferenceFile)
    : bundle_(bundle),
      preferences_(preferenceFile, log),
      loginItems_(host::AutostartPlaces::fromEnvironment(), log),
      files_(volumesFolder),
      crashes_(host::crashFolder(), surface.workspace),
      images_(bundle_),
      locks_(loop, log),
      devices_(loop, log, DeviceOptions{}),
      volumes_(loop, notifications_, log,
               [this](std::weak_ptr<GMUserFileSystemDelegate> delegate) {
                   return std::make_unique<SessionVolumeBacking>(devices_.afc(),
                                                                 std::move(delegate));
               }),
      platform_{devices_.devices(),
                devices_.afc(),
                volumes_,
                notifications_,
                preferences_,
                loginItems_,
                surface.workspace,
                files_,
                bundle_,
                collation_,
                locks_,
                log,
                images_,
                surface.interfaceFiles,
                surface.application,
                surface.statusBar,
                crashes_,
                fileManager_} {
    // A volume must not go on with a connection that its session is about to give up, and must not
    // wait for one whose device is gone.
    devices_.setConnectionEndObserver([this](AFCConnectionRef connection, bool deviceGone) {
        volumes_.connectionEnds(connection, deviceGone);
    });
    files_.setTombstones([this] { return volumes_.tombstones(); });
    files_.setPropertyListReader([](std::string_view bytes) {
        return device::parseDictionary(std::as_bytes(std::span{bytes}));
    });
    files_.setClaims([this] { return volumes_.claimedPaths(); });
}

Wiring::~Wiring() {
    devices_.setConnectionEndObserver({});
    files_.setTombstones({});
    files_.setClaims({});
}

}  // namespace quillbox::app
