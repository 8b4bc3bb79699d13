// The shape shared by WWW-Authenticate and Proxy-Authenticate: a challenge.
#ifndef KTSIP_KT_SIP_AUTHENTICATE_HEADER_H
#define KTSIP_KT_SIP_AUTHENTICATE_HEADER_H

#include "KtSipChallengeInfo.h"
#include "KtSipHeader.h"

/// A header carrying an authentication challenge, "scheme SP pair-list". The value is read
/// to the end of the line, so commas inside it never split the header.
class KtSipAuthenticateHeader : public KtSipHeader {
public:
    /// Reads "scheme SP pair-list" from the rest of the line. Throws KtException
    /// "Challenge type not supported !" for a scheme other than Digest and
    /// "Buffer overflew !!!" for an over-long pair list.
    void doParse(KtInputStream& in) override;
    /// Writes the scheme, one space and the pair list; nothing when no challenge is set.
    void doSerialize(KtOutputStream& out) const override;

    /// The challenge, nil until parsed or set.
    const KtHandle<KtSipChallengeInfo>& getChallenge() const { return m_Challenge; }
    /// Replaces the challenge.
    void setChallenge(const KtHandle<KtSipChallengeInfo>& challenge) { m_Challenge = challenge; }
    /// The challenge's scheme ("Digest"); "" when no challenge is set.
    KtString getChallengeType() const;

protected:
    KtSipAuthenticateHeader(const KtString& token, HeaderID id) : KtSipHeader(token, id) {}
    /// Copies the challenge deeply; next is nil.
    KtSipAuthenticateHeader(const KtSipAuthenticateHeader& other);

    KtHandle<KtSipChallengeInfo> m_Challenge;
};

#endif
