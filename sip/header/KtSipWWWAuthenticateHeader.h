// The WWW-Authenticate header.
#ifndef KTSIP_KT_SIP_WWW_AUTHENTICATE_HEADER_H
#define KTSIP_KT_SIP_WWW_AUTHENTICATE_HEADER_H

#include "KtSipAuthenticateHeader.h"

/// The WWW-Authenticate header (RFC 3261 20.44): the challenge of a user agent server.
class KtSipWWWAuthenticateHeader
    : public KtSipHeaderImpl<KtSipWWWAuthenticateHeader, HeaderWWWAuthenticate, KtSipAuthenticateHeader> {
public:
    /// "WWW-Authenticate".
    static const KtString sToken;

    /// An empty header (no challenge).
    KtSipWWWAuthenticateHeader();
    /// A header carrying `challenge`.
    explicit KtSipWWWAuthenticateHeader(const KtHandle<KtSipChallengeInfo>& challenge);
    /// Copies the challenge deeply; next is nil.
    KtSipWWWAuthenticateHeader(const KtSipWWWAuthenticateHeader& other);
    ~KtSipWWWAuthenticateHeader() override;
};

#endif
