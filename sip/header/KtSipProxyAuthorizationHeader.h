// The Proxy-Authorization header.
#ifndef KTSIP_KT_SIP_PROXY_AUTHORIZATION_HEADER_H
#define KTSIP_KT_SIP_PROXY_AUTHORIZATION_HEADER_H

#include "KtSipAuthorizationHeader.h"

/// The Proxy-Authorization header (RFC 3261 20.28): credentials for a proxy. Same value as
/// Authorization under another name.
class KtSipProxyAuthorizationHeader
    : public KtSipHeaderImpl<KtSipProxyAuthorizationHeader, HeaderProxyAuthorization, KtSipAuthorizationHeader> {
    KT_SIP_HEADER_VALUE_MEMBERS(KtSipProxyAuthorizationHeader, KtSipCredentialsInfo)
};

#endif
