// The abstract authentication challenge and the factory of challenges by scheme.
#ifndef KTSIP_KT_SIP_CHALLENGE_INFO_H
#define KTSIP_KT_SIP_CHALLENGE_INFO_H

#include "KtOutputStream.h"
#include "KtSipAuthInfoShape.h"
#include "KtString.h"
#include "TorvaneMemAllocator.h"

/// A challenge of some authentication scheme, as carried by WWW-Authenticate and
/// Proxy-Authenticate. "Digest" is the only scheme implemented (KtSipDigestChallengeInfo).
/// Challenges come from the "KtSipAuth" pool. constructFrom refuses any other scheme with
/// KtException "Challenge type not supported !".
class KtSipChallengeInfo : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipAuth")
    KT_SIP_AUTH_INFO_FACTORY(KtSipChallengeInfo)

public:
    ~KtSipChallengeInfo() override;
    /// A deep copy of the challenge.
    KtSipChallengeInfo* clone() const override = 0;

    /// Writes the challenge's parameter list (without the scheme word).
    virtual void serialize(KtOutputStream& out) const = 0;
    /// The scheme word ("Digest").
    virtual KtString getType() const = 0;
    /// The protection realm ("" when absent).
    virtual KtString getRealm() const = 0;
};

#endif
