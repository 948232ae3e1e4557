// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Certificates.h"
#include "PropertyList.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace quillbox::simulator {

/// What a device remembers of a computer that it trusts.
struct Pairing {
    std::string hostId;
    wire::Bytes deviceCertificate;  ///< PEM; the device shows it in TLS
    wire::Bytes hostCertificate;    ///< PEM
    wire::Bytes rootCertificate;    ///< PEM; the computer shows this one or the host's in TLS
    wire::Bytes escrowBag;          ///< opens a locked device for this computer
};

/// Whether a device trusts: the question on its screen, its lock, and the computers it knows.
/// Thread-safe.
class Trust {
public:
    /// What the owner has said to the question.
    enum class Answer {
        NotAsked,  ///< the next computer that asks raises the question
        Pending,   ///< the question stands on the screen
        Refused,   ///< refused, until the device is plugged in again
        Accepted   ///< every computer that asks is taken
    };

    enum class Lock {
        Unlocked,
        Locked,
        LockedSinceStart  ///< not unlocked once since the device has started
    };

    [[nodiscard]] Answer answer() const;
    void setAnswer(Answer answer);
    [[nodiscard]] Lock lock() const;
    void setLock(Lock lock);

    /// The device is plugged in: a refusal is forgotten.
    void plugged();

    /// Forgets all computers and asks anew.
    void reset();

    /// A computer asks with its record (certificates, HostID). Empty on success, else the error's
    /// name. On success `escrowBag` is what the computer keeps for later.
    [[nodiscard]] std::string pair(const PropertyList& record, const KeyPair& deviceKey,
                                   wire::Bytes& escrowBag);

    /// Trusts without a question; for the computer's own service, which asks by itself.
    void add(Pairing pairing);

    /// Forgets one computer; false when it is not known.
    bool remove(const std::string& hostId);

    [[nodiscard]] std::optional<Pairing> find(const std::string& hostId) const;

private:
    mutable std::mutex mutex_;
    Answer answer_ = Answer::NotAsked;
    Lock lock_ = Lock::Unlocked;
    std::map<std::string, Pairing> pairings_;
};

/// A computer's pairing record for a device, with what the device remembers of it.
struct PairRecord {
    PropertyList record;
    Pairing pairing;
};

/// Makes the record that a computer and a device share after a question that was accepted.
[[nodiscard]] PairRecord makePairRecord(const KeyPair& key, const std::string& systemBuid,
                                        const std::string& wifiAddress);

}  // namespace quillbox::simulator
