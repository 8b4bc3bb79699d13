// The Organization header.
#ifndef KTSIP_KT_SIP_ORGANIZATION_HEADER_H
#define KTSIP_KT_SIP_ORGANIZATION_HEADER_H

#include "KtSipTokenHeader.h"

/// Organization: the whole value text, trimmed (commas included: the line is never split).
class KtSipOrganizationHeader
    : public KtSipHeaderImpl<KtSipOrganizationHeader, HeaderOrganization, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipOrganizationHeader)
};

#endif
