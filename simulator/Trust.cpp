// SPDX-License-Identifier: GPL-3.0-or-later
#include "Trust.h"

namespace quillbox::simulator {

Trust::Answer Trust::answer() const {
    const std::scoped_lock lock{mutex_};
    return answer_;
}

void Trust::setAnswer(Answer answer) {
    const std::scoped_lock lock{mutex_};
    answer_ = answer;
}

Trust::Lock Trust::lock() const {
    const std::scoped_lock lock{mutex_};
    return lock_;
}

void Trust::setLock(Lock lockState) {
    const std::scoped_lock lock{mutex_};
    lock_ = lockState;
}

void Trust::plugged() {
    const std::scoped_lock lock{mutex_};
    if (answer_ == Answer::Refused) {
        answer_ = Answer::NotAsked;
    }
}

void Trust::reset() {
    const std::scoped_lock lock{mutex_};
    pairings_.clear();
    answer_ = Answer::NotAsked;
}

std::string Trust::pair(const PropertyList& record, const KeyPair& deviceKey,
                        wire::Bytes& escrowBag) {
    Pairing pairing;
    pairing.hostId = record.textAt("HostID").value_or("");
    pairing.deviceCertificate = record.dataAt("DeviceCertificate").value_or(wire::Bytes{});
    pairing.hostCertificate = record.dataAt("HostCertificate").value_or(wire::Bytes{});
    pairing.rootCertificate = record.dataAt("RootCertificate").value_or(wire::Bytes{});
    const std::string bag = makeUuid() + makeUuid();
    wire::append(pairing.escrowBag, wire::asBytes(bag));

    const std::scoped_lock lock{mutex_};
    if (lock_ != Lock::Unlocked) {
        return "PasswordProtected";
    }
    switch (answer_) {
    case Answer::NotAsked:
        answer_ = Answer::Pending;
        return "PairingDialogResponsePending";
    case Answer::Pending:
        return "PairingDialogResponsePending";
    case Answer::Refused:
        return "UserDeniedPairing";
    case Answer::Accepted:
        break;
    }
    if (pairing.hostId.empty() || !certifies(pairing.deviceCertificate, deviceKey) ||
        !parseCertificate(pairing.hostCertificate) || !parseCertificate(pairing.rootCertificate)) {
        return "InvalidPairRecord";
    }
    escrowBag = pairing.escrowBag;
    pairings_[pairing.hostId] = std::move(pairing);
    return {};
}

void Trust::add(Pairing pairing) {
    const std::scoped_lock lock{mutex_};
    answer_ = Answer::Accepted;
    pairings_[pairing.hostId] = std::move(pairing);
}

bool Trust::remove(const std::string& hostId) {
    const std::scoped_lock lock{mutex_};
    return pairings_.erase(hostId) != 0;
}

std::optional<Pairing> Trust::find(const std::string& hostId) const {
    const std::scoped_lock lock{mutex_};
    const auto found = pairings_.find(hostId);
    return found == pairings_.end() ? std::nullopt : std::optional{found->second};
}

PairRecord makePairRecord(const KeyPair& key, const std::string& systemBuid,
                          const std::string& wifiAddress) {
    PairRecord made{PropertyList::dictionary(), {}};
    Pairing& pairing = made.pairing;
    pairing.hostId = makeUuid();
    pairing.rootCertificate = makeRootCertificate(key);
    pairing.hostCertificate = makeCertificate(key, key);
    pairing.deviceCertificate = makeCertificate(key, key);
    const std::string bag = makeUuid() + makeUuid();
    wire::append(pairing.escrowBag, wire::asBytes(bag));
    made.record.setText("HostID", pairing.hostId)
        .setText("SystemBUID", systemBuid)
        .setData("DeviceCertificate", pairing.deviceCertificate)
        .setData("HostCertificate", pairing.hostCertificate)
        .setData("HostPrivateKey", key.privatePem())
        .setData("RootCertificate", pairing.rootCertificate)
        .setData("RootPrivateKey", key.privatePem())
        .setData("EscrowBag", pairing.escrowBag)
        .setText("WiFiMACAddress", wifiAddress);
    return made;
}

}  // namespace quillbox::simulator
