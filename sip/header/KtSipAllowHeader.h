// The Allow header.
#ifndef KTSIP_KT_SIP_ALLOW_HEADER_H
#define KTSIP_KT_SIP_ALLOW_HEADER_H

#include "KtSipTokenHeader.h"

/// Allow: one method token per header object (an Allow list becomes a chain). An empty value
/// throws KtSipParseError "Empty method in Allow header".
class KtSipAllowHeader : public KtSipHeaderImpl<KtSipAllowHeader, HeaderAllow, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipAllowHeader)
};

#endif
