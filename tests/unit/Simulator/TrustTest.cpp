// SPDX-License-Identifier: GPL-3.0-or-later
#include "Trust.h"

#include <gtest/gtest.h>

namespace quillbox::simulator {
namespace {

class TrustTest : public testing::Test {
protected:
    static const KeyPair& key() {
        static const KeyPair kKey = KeyPair::make();
        return kKey;
    }

    std::string pair(const PropertyList& record) {
        wire::Bytes bag;
        const std::string error = trust_.pair(record, key(), bag);
        EXPECT_EQ(bag.empty(), !error.empty());
        return error;
    }

    Trust trust_;
    PairRecord made_ = makePairRecord(key(), "BUID", "06:00:00:00:00:00");
};

TEST_F(TrustTest, TheQuestionIsRaisedAndAnswered) {
    EXPECT_EQ(pair(made_.record), "PairingDialogResponsePending");
    EXPECT_EQ(trust_.answer(), Trust::Answer::Pending);
    trust_.setAnswer(Trust::Answer::Accepted);
    EXPECT_EQ(pair(made_.record), "");
    ASSERT_TRUE(trust_.find(made_.pairing.hostId));
    trust_.reset();
    EXPECT_FALSE(trust_.find(made_.pairing.hostId));
    EXPECT_EQ(pair(made_.record), "PairingDialogResponsePending");
}

TEST_F(TrustTest, ARefusalLastsUntilTheNextPlug) {
    trust_.setAnswer(Trust::Answer::Refused);
    EXPECT_EQ(pair(made_.record), "UserDeniedPairing");
    trust_.plugged();
    EXPECT_EQ(pair(made_.record), "PairingDialogResponsePending");
}

TEST_F(TrustTest, ALockedDeviceDoesNotPair) {
    trust_.setAnswer(Trust::Answer::Accepted);
    for (const auto lock : {Trust::Lock::Locked, Trust::Lock::LockedSinceStart}) {
        trust_.setLock(lock);
        EXPECT_EQ(pair(made_.record), "PasswordProtected");
    }
}

TEST_F(TrustTest, ARecordMustCertifyTheDevicesKey) {
    trust_.setAnswer(Trust::Answer::Accepted);
    const PairRecord other = makePairRecord(KeyPair::make(), "BUID", "");
    EXPECT_EQ(pair(other.record), "InvalidPairRecord");
    EXPECT_EQ(pair(PropertyList::dictionary()), "InvalidPairRecord");
    PropertyList damaged = made_.record;
    damaged.setData("RootCertificate", wire::asBytes("no certificate"));
    EXPECT_EQ(pair(damaged), "InvalidPairRecord");
}

TEST_F(TrustTest, OneComputerCanBeForgotten) {
    trust_.add(made_.pairing);
    EXPECT_TRUE(trust_.remove(made_.pairing.hostId));
    EXPECT_FALSE(trust_.remove(made_.pairing.hostId));
}

TEST_F(TrustTest, CertificatesServeTls) {
    EXPECT_TRUE(makeServerContext(made_.pairing.deviceCertificate, key()));
    EXPECT_FALSE(makeServerContext(wire::asBytes("nothing"), key()));
    EXPECT_FALSE(makeServerContext(made_.pairing.deviceCertificate, KeyPair::make()));
}

}  // namespace
}  // namespace quillbox::simulator
