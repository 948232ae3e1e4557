// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Device/Lockdown/LockdownLink.h"

#include "Linux/Device/Streams/PropertyListChannel.h"
#include "Linux/Device/Streams/PropertyLists.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace quillbox::device {

namespace {

constexpr std::uint16_t kLockdownPort = 62078;
constexpr const char* kLabel = "quillbox";
/// The last device version that wants its pairing validated before a session is below this one.
constexpr std::int64_t kFirstVersionWithoutValidation = 7;
/// How long to wait for the device's side of the end of TLS.
constexpr std::chrono::milliseconds kTlsEnd{1'000};

}  // namespace

void LockdownLink::closeLocked() {
    connection_.reset();
    session_.reset();
}

Failure LockdownLink::request(PropertyDictionary request, Milliseconds noProgress, bool forService,
                              PropertyDictionary& answer) {
    request.emplace("Label", kLabel);
    const std::string name = textOf(request, "Request").value_or("");
    ByteStream& stream = connection_->stream();
    stream.setNoProgress(noProgress);
    std::string error;
    auto reply = askPropertyList(stream, request, error);
    if (!reply) {
        closeLocked();
        return {FailureKind::NoAnswer, error};
    }
    if (textOf(*reply, "Request").value_or(name) != name) {
        closeLocked();
        return {FailureKind::NoAnswer, "an answer to another question"};
    }
    if (const auto refused = textOf(*reply, "Error")) {
        return failureOf(*refused, forService);
    }
    answer = std::move(*reply);
    return {};
}

Failure LockdownLink::connectLocked(Milliseconds noProgress) {
    if (connection_ && connection_->stream().isAlive()) {
        return {};
    }
    closeLocked();
    if (Failure failure = device_.connect(kLockdownPort, noProgress, connection_)) {
        return failure;
    }
    PropertyDictionary answer;
    Failure failure = request({{"Request", "QueryType"}}, noProgress, /*forService=*/false, answer);
    if (!failure && textOf(answer, "Type").value_or("") != "com.apple.mobile.lockdown") {
        closeLocked();
        return {FailureKind::NoAnswer, "its lockdown service is of an unknown kind"};
    }
    return failure;
}

/// All values that the device tells at once, or where it wants to be asked for each, those that are
/// used here. Empty where the connection ended.
PropertyDictionary LockdownLink::knownValues(Milliseconds noProgress) {
    PropertyDictionary answer;
    if (!request({{"Request", "GetValue"}}, noProgress, /*forService=*/false, answer)) {
        const PropertyValue* value = find(answer, "Value");
        const PropertyDictionary* values = value == nullptr ? nullptr : value->dictionary();
        if (values != nullptr) {
            return *values;
        }
    }
    PropertyDictionary values;
    for (const char* key : {"DeviceName", "SerialNumber", "ProductVersion"}) {
        answer.clear();
        if (!connection_ || request({{"Request", "GetValue"}, {"Key", key}}, noProgress,
                                    /*forService=*/false, answer)) {
            continue;
        }
        if (const PropertyValue* value = find(answer, "Value"); value != nullptr) {
            values.emplace(key, *value);
        }
    }
    return values;
}

void LockdownLink::learnName(Milliseconds noProgress) {
    if (nameKnown_ || !connection_) {
        return;
    }
    const PropertyDictionary values = knownValues(noProgress);
    if (values.empty()) {
        return;
    }
    const std::string serialNumber = textOf(values, "SerialNumber").value_or("");
    device_.setName(textOf(values, "DeviceName").value_or(""), serialNumber);
    const std::int64_t version = decimalValue(textOf(values, "ProductVersion").value_or(""));
    isOld_ = version > 0 && version < kFirstVersionWithoutValidation;
    // Without a session a device keeps its serial number to itself.
    nameKnown_ = !serialNumber.empty();
}

Failure LockdownLink::sessionLocked(Milliseconds noProgress) {
    if (session_ && connection_ && connection_->stream().isAlive()) {
        return {};
    }
    if (Failure failure = connectLocked(noProgress)) {
        return failure;
    }
    learnName(noProgress);
    if (Failure failure = readPairingRecord(device_.udid(), record_)) {
        return failure;
    }
    if (Failure failure = connectLocked(noProgress)) {
        return failure;
    }
    PropertyDictionary answer;
    if (isOld_) {
        PropertyDictionary pair{{"HostID", record_.hostId}, {"SystemBUID", record_.systemBuid}};
        if (Failure failure = request({{"Request", "ValidatePair"}, {"PairRecord", pair}},
                                      noProgress, /*forService=*/false, answer)) {
            return failure;
        }
    }
    if (Failure failure = request({{"Request", "StartSession"},
                                   {"HostID", record_.hostId},
                                   {"SystemBUID", record_.systemBuid}},
                                  noProgress, /*forService=*/false, answer)) {
        return failure;
    }
    const auto identifier = textOf(answer, "SessionID");
    if (!identifier) {
        closeLocked();
        return {FailureKind::NoAnswer, "a session without a name"};
    }
    const PropertyValue* tls = find(answer, "EnableSessionSSL");
    if (tls != nullptr && tls->boolValue() && !connection_->stream().startTls(record_.identity)) {
        std::string error = connection_->stream().error();
        closeLocked();
        return {FailureKind::NoAnswer, std::move(error)};
    }
    session_ = *identifier;
    learnName(noProgress);
    return connection_ ? Failure{} : Failure{FailureKind::NoAnswer, "the connection ended"};
}

Failure LockdownLink::ensureConnected(Milliseconds noProgress) {
    const std::lock_guard lock{mutex_};
    return connectLocked(noProgress);
}

Failure LockdownLink::ensureSession(Milliseconds noProgress) {
    const std::lock_guard lock{mutex_};
    return sessionLocked(noProgress);
}

Failure LockdownLink::stopSession(Milliseconds noProgress) {
    const std::lock_guard lock{mutex_};
    if (!session_ || !connection_) {
        return {FailureKind::Refused, "there is no session"};
    }
    PropertyDictionary answer;
    Failure failure = request({{"Request", "StopSession"}, {"SessionID", *session_}}, noProgress,
                              /*forService=*/false, answer);
    session_.reset();
    if (connection_) {
        connection_->stream().setNoProgress(std::min(noProgress, kTlsEnd));
        if (failure || !connection_->stream().endTls()) {
            // What follows would be in doubt; the next question opens a new one.
            closeLocked();
        }
    }
    return failure;
}

void LockdownLink::disconnect() {
    const std::lock_guard lock{mutex_};
    closeLocked();
}

bool LockdownLink::hasSession() {
    const std::lock_guard lock{mutex_};
    return session_ && connection_ && connection_->stream().isAlive();
}

Failure LockdownLink::getValue(const std::optional<std::string>& domain,
                               const std::optional<std::string>& key, Milliseconds noProgress,
                               std::optional<PropertyValue>& value) {
    const std::lock_guard lock{mutex_};
    // A session is opened where the record allows it; without one a device answers a few keys only.
    if (Failure failure = sessionLocked(noProgress); isLost(failure.kind) || !connection_) {
        return failure;
    }
    PropertyDictionary question{{"Request", "GetValue"}};
    if (domain) {
        question.emplace("Domain", *domain);
    }
    if (key) {
        question.emplace("Key", *key);
    }
    PropertyDictionary answer;
    Failure failure = request(std::move(question), noProgress, /*forService=*/false, answer);
    if (const PropertyValue* found = find(answer, "Value"); !failure && found != nullptr) {
        value = *found;
    }
    return failure;
}

Failure LockdownLink::startService(const std::string& service, Milliseconds noProgress,
                                   StartedService& started) {
    if (Failure failure = sessionLocked(noProgress)) {
        return failure;
    }
    PropertyDictionary question{{"Request", "StartService"}, {"Service", service}};
    if (record_.escrowBag) {
        question.emplace("EscrowBag", *record_.escrowBag);
    }
    PropertyDictionary answer;
    if (Failure failure = request(std::move(question), noProgress, /*forService=*/true, answer)) {
        return failure;
    }
    const PropertyValue* port = find(answer, "Port");
    const std::int64_t number = port == nullptr ? 0 : port->integerValue();
    if (number <= 0 || number > std::numeric_limits<std::uint16_t>::max()) {
        return {FailureKind::Refused, "the service was started without a port"};
    }
    const PropertyValue* tls = find(answer, "EnableServiceSSL");
    started = {static_cast<std::uint16_t>(number), tls != nullptr && tls->boolValue()};
    return {};
}

Failure LockdownLink::openService(const std::string& service, Milliseconds noProgress,
                                  std::unique_ptr<ServiceConnection>& connection) {
    StartedService started;
    TlsIdentity identity;
    {
        const std::lock_guard lock{mutex_};
        Failure failure = startService(service, noProgress, started);
        if (failure.kind == FailureKind::NoAnswer && device_.isAttached() && !connection_ &&
            failure.text.find("no progress") == std::string::npos) {
            // Devices end an idle session; that shows only with the next question.
            failure = startService(service, noProgress, started);
        }
        if (failure) {
            return failure;
        }
        identity = record_.identity;
    }
    std::unique_ptr<ServiceConnection> opened;
    if (Failure failure = device_.connect(started.port, noProgress, opened)) {
        return failure;
    }
    if (started.tls && !opened->stream().startTls(identity)) {
        return {FailureKind::NoAnswer, opened->stream().error()};
    }
    connection = std::move(opened);
    return {};
}

}  // namespace quillbox::device
