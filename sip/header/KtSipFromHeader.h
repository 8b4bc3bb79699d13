// The From header: the initiator's name-address and header parameters (the dialog tag).
#ifndef KTSIP_KT_SIP_FROM_HEADER_H
#define KTSIP_KT_SIP_FROM_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// From (compact "f", id 2): checked by every constructor but the default one and by
/// every parse (see checkAddress); a missing URI throws KtSipParseError "Invalid From header".
class KtSipFromHeader : public KtSipCompactHeaderImpl<KtSipFromHeader, HeaderFrom, KtSipNameAddrParamsHeader> {
    KT_SIP_PARTY_HEADER_MEMBERS(KtSipFromHeader)
    static const KtString sCompactToken;  ///< "f"
};

#endif
