// The Supported header (compact form "k").
#ifndef KTSIP_KT_SIP_SUPPORTED_HEADER_H
#define KTSIP_KT_SIP_SUPPORTED_HEADER_H

#include "KtSipTokenHeader.h"

/// Supported (compact form "k"): one option tag per header object; an empty tag is accepted.
class KtSipSupportedHeader
    : public KtSipCompactHeaderImpl<KtSipSupportedHeader, HeaderSupported, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipSupportedHeader)
    static const KtString sCompactToken;
};

#endif
