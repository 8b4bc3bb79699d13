// The Proxy-Authenticate header.
#ifndef KTSIP_KT_SIP_PROXY_AUTHENTICATE_HEADER_H
#define KTSIP_KT_SIP_PROXY_AUTHENTICATE_HEADER_H

#include "KtSipAuthenticateHeader.h"

/// The Proxy-Authenticate header (RFC 3261 20.27): the challenge of a proxy.
class KtSipProxyAuthenticateHeader
    : public KtSipHeaderImpl<KtSipProxyAuthenticateHeader, HeaderProxyAuthenticate, KtSipAuthenticateHeader> {
public:
    /// "Proxy-Authenticate".
    static const KtString sToken;

    /// An empty header (no challenge).
    KtSipProxyAuthenticateHeader();
    /// A header carrying `challenge`.
    explicit KtSipProxyAuthenticateHeader(const KtHandle<KtSipChallengeInfo>& challenge);
    /// Copies the challenge deeply; next is nil.
    KtSipProxyAuthenticateHeader(const KtSipProxyAuthenticateHeader& other);
    ~KtSipProxyAuthenticateHeader() override;
};

#endif
