// The Min-Expires header.
#ifndef KTSIP_KT_SIP_MIN_EXPIRES_HEADER_H
#define KTSIP_KT_SIP_MIN_EXPIRES_HEADER_H

#include "KtSipUnsignedHeader.h"

/// Min-Expires: the minimum registration or subscription interval in seconds. A value that
/// does not start with a digit throws KtSipParseError "Invalid Minimum SE header" (the text
/// is shared with Min-SE).
class KtSipMinExpiresHeader
    : public KtSipHeaderImpl<KtSipMinExpiresHeader, HeaderMinExpires, KtSipUnsignedHeader> {
    KT_SIP_UNSIGNED_HEADER_MEMBERS(KtSipMinExpiresHeader)
};

#endif
