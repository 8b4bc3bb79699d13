// The Require header.
#ifndef KTSIP_KT_SIP_REQUIRE_HEADER_H
#define KTSIP_KT_SIP_REQUIRE_HEADER_H

#include "KtSipTokenHeader.h"

/// Require: one option tag per header object; an empty tag is accepted.
class KtSipRequireHeader : public KtSipHeaderImpl<KtSipRequireHeader, HeaderRequire, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipRequireHeader)
};

#endif
