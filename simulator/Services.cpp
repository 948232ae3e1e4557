// SPDX-License-Identifier: GPL-3.0-or-later
#include "Services.h"

#include "AfcService.h"
#include "HomeScreen.h"
#include "HouseArrest.h"
#include "InstallationProxy.h"
#include "Lockdown.h"

namespace quillbox::simulator {

void serve(ServiceContext& context, const StartedService& service) {
    if (service.name == service::kLockdown) {
        serveLockdown(context);
        return;
    }
    if (service.tls && !secure(context, service.pairing)) {
        return;
    }
    if (service.name == service::kAfc) {
        serveAfc(context, {context.device.description().media, {}, {}}, false);
    } else if (service.name == service::kAfc2) {
        AfcArea area{context.device.rootFolder(), {}, {}};
        // The way there through the link "/var" is the same place.
        for (const char* path : {"/private/var/mobile/Media", "/var/mobile/Media"}) {
            area.parts.push_back({path, context.device.description().media});
        }
        serveAfc(context, std::move(area), false);
    } else if (service.name == service::kHouseArrest) {
        serveHouseArrest(context);
    } else if (service.name == service::kInstallationProxy) {
        serveInstallationProxy(context);
    } else if (service.name == service::kHomeScreen) {
        serveHomeScreen(context);
    }
}

}  // namespace quillbox::simulator
