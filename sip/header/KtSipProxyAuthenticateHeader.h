// The Proxy-Authenticate header.
#ifndef KTSIP_KT_SIP_PROXY_AUTHENTICATE_HEADER_H
#define KTSIP_KT_SIP_PROXY_AUTHENTICATE_HEADER_H

#include "KtSipAuthenticateHeader.h"

/// The Proxy-Authenticate header (RFC 3261 20.27): the challenge of a proxy.
class KtSipProxyAuthenticateHeader
    : public KtSipHeaderImpl<KtSipProxyAuthenticateHeader, HeaderProxyAuthenticate, KtSipAuthenticateHeader> {
    KT_SIP_HEADER_VALUE_MEMBERS(KtSipProxyAuthenticateHeader, KtSipChallengeInfo)
};

#endif
