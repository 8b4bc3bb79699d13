// The Proxy-Require header.
#ifndef KTSIP_KT_SIP_PROXY_REQUIRE_HEADER_H
#define KTSIP_KT_SIP_PROXY_REQUIRE_HEADER_H

#include "KtSipTokenHeader.h"

/// Proxy-Require: one option tag per header object; an empty tag is accepted.
class KtSipProxyRequireHeader
    : public KtSipHeaderImpl<KtSipProxyRequireHeader, HeaderProxyRequire, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipProxyRequireHeader)
};

#endif
