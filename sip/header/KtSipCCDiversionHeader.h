// The CC-Diversion header: a diverting party's name-address with parameters.
#ifndef KTSIP_KT_SIP_CC_DIVERSION_HEADER_H
#define KTSIP_KT_SIP_CC_DIVERSION_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// CC-Diversion (id 17): a name-address followed by ";" parameters (reason, counter, ...).
class KtSipCCDiversionHeader
    : public KtSipHeaderImpl<KtSipCCDiversionHeader, HeaderCCDiversion, KtSipNameAddrParamsHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipCCDiversionHeader)
};

#endif
