// SPDX-License-Identifier: GPL-3.0-or-later
#include "Service.h"

#include "AfcService.h"
#include "HomeScreen.h"
#include "HouseArrest.h"
#include "InstallationProxy.h"
#include "Lockdown.h"

namespace quillbox::simulator {
namespace {

/// The client must show a certificate of the pairing under which the service was started.
bool showsPairing(const Stream& stream, const Pairing& pairing) {
    const X509Pointer shown = stream.peerCertificate();
    const X509Pointer root = parseCertificate(pairing.rootCertificate);
    const X509Pointer host = parseCertificate(pairing.hostCertificate);
    return shown && ((root && X509_cmp(shown.get(), root.get()) == 0) ||
                     (host && X509_cmp(shown.get(), host.get()) == 0));
}

}  // namespace

bool secure(ServiceContext& context, const Pairing& pairing) {
    const SslContextPointer tls =
        makeServerContext(pairing.deviceCertificate, context.environment.key);
    return tls && context.stream.startTls(tls) && showsPairing(context.stream, pairing);
}

std::optional<Verdict> ServiceContext::admit(std::string_view kind) {
    const RequestGroup group = requestGroup(kind);
    const std::string_view counted = group == RequestGroup::None ? kUnknownRequest : kind;
    environment.counters.count(device.udid(), counted);
    const Faults::Request request{device.udid(), stream.channel().service(), counted, group};
    const Verdict verdict = environment.faults.judge(request);
    if (!environment.faults.pass(request, stream.channel())) {
        return std::nullopt;
    }
    return verdict;
}

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
