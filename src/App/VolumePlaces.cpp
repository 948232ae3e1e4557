// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/VolumePlaces.h"

#include "Core/Platform/UserFileSystem.h"
#include "Linux/Host/AutostartEntries.h"

namespace quillbox::app {

VolumePlaces::VolumePlaces(RunLoop& loop, NotificationCenter& notifications, Log& log,
                           const std::shared_ptr<const MountedPaths>& mounted)
    : notifications_(notifications), places_(std::make_shared<std::optional<desktop::Places>>()) {
    places_->emplace(log, host::AutostartEntries::kApplicationId);
    (*places_)->show({});  // what a crash has left
    for (const auto name : {kGMUserFileSystemDidMount, kGMUserFileSystemDidUnmount}) {
        // After the journal has heard the notice too.
        notifications_.addObserver(this, name,
                                   [&loop, places = places_, mounted](const Notification&) {
                                       loop.post([places, mounted] {
                                           if (*places) {
                                               (*places)->show(mounted->list());
                                           }
                                       });
                                   });
    }
}

VolumePlaces::~VolumePlaces() {
    notifications_.removeObserver(this);
    clear();
}

void VolumePlaces::clear() {
    places_->reset();
}

}  // namespace quillbox::app
