// SPDX-License-Identifier: GPL-3.0-or-later
#include "Service.h"

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

}  // namespace quillbox::simulator
