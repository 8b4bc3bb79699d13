// The Min-SE header (session timers).
#ifndef KTSIP_KT_SIP_MIN_SE_HEADER_H
#define KTSIP_KT_SIP_MIN_SE_HEADER_H

#include "KtSipUnsignedHeader.h"

/// Min-SE: the minimum session interval in seconds. Only the number is kept; parameters
/// after it are skipped. A value that does not start with a digit throws KtSipParseError
/// "Invalid Minimum SE header".
class KtSipMinSEHeader : public KtSipHeaderImpl<KtSipMinSEHeader, HeaderMinSE, KtSipUnsignedHeader> {
    KT_SIP_UNSIGNED_HEADER_MEMBERS(KtSipMinSEHeader)
};

#endif
