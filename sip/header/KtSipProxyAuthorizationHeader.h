// The Proxy-Authorization header.
#ifndef KTSIP_KT_SIP_PROXY_AUTHORIZATION_HEADER_H
#define KTSIP_KT_SIP_PROXY_AUTHORIZATION_HEADER_H

#include "KtSipAuthorizationHeader.h"

/// The Proxy-Authorization header (RFC 3261 20.28): credentials for a proxy. Same value as
/// Authorization under another name.
class KtSipProxyAuthorizationHeader
    : public KtSipHeaderImpl<KtSipProxyAuthorizationHeader, HeaderProxyAuthorization, KtSipAuthorizationHeader> {
public:
    /// "Proxy-Authorization".
    static const KtString sToken;

    /// An empty header (no credentials).
    KtSipProxyAuthorizationHeader();
    /// A header carrying `credentials`.
    explicit KtSipProxyAuthorizationHeader(const KtHandle<KtSipCredentialsInfo>& credentials);
    /// Copies the credentials deeply; next is nil.
    KtSipProxyAuthorizationHeader(const KtSipProxyAuthorizationHeader& other);
    ~KtSipProxyAuthorizationHeader() override;
};

#endif
