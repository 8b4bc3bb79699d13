// The shape shared by WWW-Authenticate and Proxy-Authenticate: a challenge.
#ifndef KTSIP_KT_SIP_AUTHENTICATE_HEADER_H
#define KTSIP_KT_SIP_AUTHENTICATE_HEADER_H

#include "KtSipAuthValueHeader.h"
#include "KtSipChallengeInfo.h"

/// A header carrying an authentication challenge (see KtSipAuthValueHeader); a scheme other
/// than Digest throws KtException "Challenge type not supported !".
class KtSipAuthenticateHeader : public KtSipAuthValueHeader<KtSipChallengeInfo> {
public:
    /// The challenge, nil until parsed or set.
    const KtHandle<KtSipChallengeInfo>& getChallenge() const { return m_value; }
    /// Replaces the challenge.
    void setChallenge(const KtHandle<KtSipChallengeInfo>& challenge) { m_value = challenge; }
    /// The challenge's scheme ("Digest"); "" when no challenge is set.
    KtString getChallengeType() const { return valueType(); }

protected:
    using KtSipAuthValueHeader::KtSipAuthValueHeader;
    const KtSipHeaderScopes& getScopes() const override;
};

#endif
