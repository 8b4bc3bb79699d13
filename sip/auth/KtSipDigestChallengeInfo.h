// The Digest challenge (RFC 2617 / RFC 3261 section 22.4).
#ifndef KTSIP_KT_SIP_DIGEST_CHALLENGE_INFO_H
#define KTSIP_KT_SIP_DIGEST_CHALLENGE_INFO_H

#include "KtInputStream.h"
#include "KtParameters.h"
#include "KtSipChallengeInfo.h"

/// A Digest challenge: every pair of the challenge (realm, nonce, opaque, algorithm, qop,
/// stale, domain, or any other) held under its name, in the order read. Nothing is
/// interpreted on parsing; KtSipDigestCredentialsInfo reads the pairs it needs by name.
class KtSipDigestChallengeInfo : public KtSipChallengeInfo {
public:
    /// The scheme word, "Digest".
    static const KtString TYPE;

    /// An empty challenge.
    KtSipDigestChallengeInfo();
    /// A challenge holding only "realm"; a server adds the other pairs through setValue.
    explicit KtSipDigestChallengeInfo(const char* realm);
    KT_SIP_DIGEST_INFO_MEMBERS(KtSipDigestChallengeInfo)
    /// Writes the pairs as name="value" joined by ","; the values of algorithm, stale and
    /// uri are written without quotes.
    void serialize(KtOutputStream& out) const override;
    /// "Digest".
    KtString getType() const override;
    /// The value of "realm".
    KtString getRealm() const override;

    /// The value of the pair `name` (exact name; nil when absent).
    KtString getValue(const char* name) const { return m_Params->getValue(name); }
    /// True when the challenge holds the pair `name`.
    bool hasValue(const char* name) const { return m_Params->hasName(name); }
    /// Sets (replaces or appends) the pair `name`.
    void setValue(const char* name, const char* value) { m_Params->setValue(name, value); }
    /// The pair list itself.
    const KtHandle<KtParameters>& getParameters() const { return m_Params; }

private:
    KtHandle<KtParameters> m_Params;
};

#endif
