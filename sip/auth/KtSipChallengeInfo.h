// The abstract authentication challenge and the factory of challenges by scheme.
#ifndef KTSIP_KT_SIP_CHALLENGE_INFO_H
#define KTSIP_KT_SIP_CHALLENGE_INFO_H

#include "KtByteArray.h"
#include "KtHandle.h"
#include "KtOutputStream.h"
#include "KtString.h"
#include "TorvaneMemAllocator.h"

/// A challenge of some authentication scheme, as carried by WWW-Authenticate and
/// Proxy-Authenticate. "Digest" is the only scheme implemented (KtSipDigestChallengeInfo).
/// Challenges come from the "KtSipAuth" pool.
class KtSipChallengeInfo : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipAuth")
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

    /// Builds the challenge of scheme `type` from its parameter list `text`. The scheme is
    /// matched ignoring case; any scheme other than Digest throws KtException
    /// "Challenge type not supported !".
    static KtHandle<KtSipChallengeInfo> constructFrom(const char* type, KtHandle<KtByteArray> text);
    /// As above for the scheme word of `typeLength` bytes at `type` and the parameter list of
    /// `length` bytes at `text`, read where it stands (a null `text` is no list at all).
    static KtHandle<KtSipChallengeInfo> constructFrom(const char* type, unsigned typeLength, const char* text,
                                                      unsigned length);
    /// Builds a challenge from a whole header value "scheme SP pair-list" (what follows the
    /// colon of a WWW-Authenticate or Proxy-Authenticate line). Same errors as constructFrom.
    static KtHandle<KtSipChallengeInfo> sConstructFromValue(const char* value);

protected:
    KtSipChallengeInfo() = default;
    KtSipChallengeInfo(const KtSipChallengeInfo&) = default;
    KtSipChallengeInfo& operator=(const KtSipChallengeInfo&) = delete;
};

#endif
