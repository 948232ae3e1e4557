// SPDX-License-Identifier: GPL-3.0-or-later
#include "Lockdown.h"

#include "LockdownValues.h"
#include "PropertyListService.h"

#include <array>

namespace quillbox::simulator {
namespace {

class Lockdown {
public:
    explicit Lockdown(ServiceContext& context) : context_{context} {}

    void run() {
        while (answerNext()) {
        }
    }

private:
    bool answerNext();
    [[nodiscard]] PropertyList answer(const std::string& kind, const PropertyList& request);
    void getValue(const PropertyList& request, PropertyList& answer);
    void changePairing(const std::string& kind, const PropertyList& request, PropertyList& answer);
    void startSession(const PropertyList& request, PropertyList& answer);
    void startService(const PropertyList& request, PropertyList& answer);
    [[nodiscard]] bool offers(const std::string& service) const;

    static void fail(PropertyList& answer, const std::string& error) {
        answer.setText("Error", error);
    }

    struct Session {
        std::string identifier;
        Pairing pairing;
    };

    ServiceContext& context_;
    std::optional<Session> session_;
};

bool Lockdown::answerNext() {
    Stream& stream = context_.stream;
    const auto request = readPropertyList(stream);
    if (!request) {
        return false;
    }
    const std::string kind = request->textAt("Request").value_or("");
    const auto verdict = context_.admit(kind);
    if (!verdict) {
        return false;
    }
    const bool hadSession = session_.has_value();
    PropertyList reply = PropertyList::dictionary();
    if (verdict->kind == Verdict::Kind::Fail) {
        reply.setText("Request", kind).setText("Error", verdict->status);
    } else {
        reply = answer(kind, *request);
    }
    if (!writeAnswer(stream, reply, *verdict)) {
        return false;
    }
    if (hadSession && !session_) {
        stream.endTls();
    } else if (!hadSession && session_ && context_.device.description().tls) {
        return secure(context_, session_->pairing);
    }
    return kind != "Goodbye";
}

PropertyList Lockdown::answer(const std::string& kind, const PropertyList& request) {
    PropertyList answer = PropertyList::dictionary();
    answer.setText("Request", kind);
    if (kind == "QueryType") {
        answer.setText("Type", std::string{service::kLockdown});
    } else if (kind == "GetValue") {
        getValue(request, answer);
    } else if (kind == "SetValue" || kind == "RemoveValue") {
        fail(answer, kind == "SetValue" ? "SetProhibited" : "RemoveProhibited");
    } else if (kind == "Pair" || kind == "ValidatePair" || kind == "Unpair") {
        changePairing(kind, request, answer);
    } else if (kind == "StartSession") {
        startSession(request, answer);
    } else if (kind == "StopSession") {
        if (session_ && request.textAt("SessionID") == session_->identifier) {
            session_.reset();
        } else {
            fail(answer, session_ ? "InvalidSessionID" : "NoRunningSession");
        }
    } else if (kind == "StartService") {
        startService(request, answer);
    } else if (kind != "Goodbye") {
        fail(answer, "InvalidRequest");
    }
    return answer;
}

void Lockdown::getValue(const PropertyList& request, PropertyList& answer) {
    const std::string domain = request.textAt("Domain").value_or("");
    const auto key = request.textAt("Key");
    PropertyList values = lockdownValues(context_.device, context_.environment.key, domain);
    if (!domain.empty()) {
        answer.setText("Domain", domain);
    }
    const auto isOpen = [&](const std::string& name) {
        return session_ || (domain.empty() && isOpenValue(name));
    };
    if (key) {
        answer.setText("Key", *key);
        auto value = values.value(*key);
        if (!value) {
            fail(answer, "MissingValue");
        } else if (!isOpen(*key)) {
            fail(answer, "GetProhibited");
        } else {
            answer.set("Value", std::move(*value));
        }
        return;
    }
    for (const std::string& name : values.keys()) {
        if (!isOpen(name)) {
            values.remove(name);
        }
    }
    answer.set("Value", std::move(values));
}

void Lockdown::changePairing(const std::string& kind, const PropertyList& request,
                             PropertyList& answer) {
    Trust& trust = context_.device.trust;
    const auto record = request.value("PairRecord");
    if (!record) {
        fail(answer, "InvalidPairRecord");
        return;
    }
    if (kind == "Pair") {
        wire::Bytes escrowBag;
        const std::string error = trust.pair(*record, context_.environment.key, escrowBag);
        if (!error.empty()) {
            fail(answer, error);
        } else {
            answer.setData("EscrowBag", escrowBag);
        }
        return;
    }
    const std::string hostId = record->textAt("HostID").value_or("");
    if (kind == "Unpair" ? !trust.remove(hostId) : !trust.find(hostId)) {
        fail(answer, "InvalidHostID");
    }
}

void Lockdown::startSession(const PropertyList& request, PropertyList& answer) {
    if (session_) {
        fail(answer, "SessionActive");
        return;
    }
    auto pairing = context_.device.trust.find(request.textAt("HostID").value_or(""));
    if (!pairing) {
        fail(answer, "InvalidHostID");
        return;
    }
    session_ = Session{makeUuid(), std::move(*pairing)};
    answer.setText("SessionID", session_->identifier)
        .setBoolean("EnableSessionSSL", context_.device.description().tls);
}

bool Lockdown::offers(const std::string& name) const {
    if (name == service::kAfc2) {
        return context_.device.description().wholeFileSystem;
    }
    return name == service::kAfc || name == service::kHouseArrest ||
           name == service::kInstallationProxy || name == service::kHomeScreen;
}

void Lockdown::startService(const PropertyList& request, PropertyList& answer) {
    const std::string name = request.textAt("Service").value_or("");
    answer.setText("Service", name);
    if (!session_) {
        fail(answer, "NoRunningSession");
        return;
    }
    if (!offers(name)) {
        fail(answer, "InvalidService");
        return;
    }
    switch (context_.device.trust.lock()) {
    case Trust::Lock::LockedSinceStart:
        fail(answer, "MissingValue");
        return;
    case Trust::Lock::Locked:
        if (request.dataAt("EscrowBag") != session_->pairing.escrowBag) {
            fail(answer, "PasswordProtected");
            return;
        }
        break;
    case Trust::Lock::Unlocked:
        break;
    }
    const bool tls = context_.device.description().tls;
    const auto port = context_.device.reservePort({name, tls, session_->pairing});
    if (!port) {
        fail(answer, "ServiceLimit");
        return;
    }
    answer.setNumber("Port", *port);
    if (tls) {
        answer.setBoolean("EnableServiceSSL", true);
    }
}

}  // namespace

void serveLockdown(ServiceContext& context) {
    Lockdown{context}.run();
}

}  // namespace quillbox::simulator
