// The User-Agent header.
#ifndef KTSIP_KT_SIP_USER_AGENT_HEADER_H
#define KTSIP_KT_SIP_USER_AGENT_HEADER_H

#include "KtSipProductHeader.h"

/// User-Agent: the product (up to "/", "(" or a comma; it may contain spaces, as in
/// "X-Lite release 1104o"), the version after "/" up to a comma or the line end, or a
/// "(comment)" right after the product. An empty value is accepted.
class KtSipUserAgentHeader
    : public KtSipHeaderImpl<KtSipUserAgentHeader, HeaderUserAgent, KtSipProductHeader> {
    KT_SIP_PRODUCT_HEADER_MEMBERS(KtSipUserAgentHeader)
};

#endif
