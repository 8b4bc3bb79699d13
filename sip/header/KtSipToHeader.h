// The To header: the recipient's name-address and header parameters (the dialog tag).
#ifndef KTSIP_KT_SIP_TO_HEADER_H
#define KTSIP_KT_SIP_TO_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// To (compact "t", id 3). The twin of KtSipFromHeader: every constructor but the default
/// one, and every parse, ends with checkValidity (KtSipParseError "Invalid To header").
class KtSipToHeader : public KtSipCompactHeaderImpl<KtSipToHeader, HeaderTo, KtSipNameAddrParamsHeader> {
    KT_SIP_PARTY_HEADER_MEMBERS(KtSipToHeader)
    static const KtString sCompactToken;  ///< "t"
    static const KtString sTagToken;      ///< "tag"
};

#endif
