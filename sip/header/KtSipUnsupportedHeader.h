// The Unsupported header.
#ifndef KTSIP_KT_SIP_UNSUPPORTED_HEADER_H
#define KTSIP_KT_SIP_UNSUPPORTED_HEADER_H

#include "KtSipTokenHeader.h"

/// Unsupported: one option tag per header object; an empty tag is accepted.
class KtSipUnsupportedHeader
    : public KtSipHeaderImpl<KtSipUnsupportedHeader, HeaderUnsupported, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipUnsupportedHeader)
};

#endif
