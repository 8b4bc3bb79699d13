// The Max-Forwards header.
#ifndef KTSIP_KT_SIP_MAX_FORWARDS_HEADER_H
#define KTSIP_KT_SIP_MAX_FORWARDS_HEADER_H

#include "KtSipUnsignedHeader.h"

/// Max-Forwards: the remaining hop count. Values above 255 are kept as they are; a value
/// that is not a number throws KtSipParseError "Invalid Max-Forwards header".
class KtSipMaxForwardsHeader
    : public KtSipHeaderImpl<KtSipMaxForwardsHeader, HeaderMaxForwards, KtSipUnsignedHeader> {
    KT_SIP_UNSIGNED_HEADER_MEMBERS(KtSipMaxForwardsHeader)
};

#endif
