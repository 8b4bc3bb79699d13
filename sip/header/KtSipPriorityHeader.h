// The Priority header.
#ifndef KTSIP_KT_SIP_PRIORITY_HEADER_H
#define KTSIP_KT_SIP_PRIORITY_HEADER_H

#include "KtSipKeywordHeader.h"

/// Priority: "normal" (0), "emergency" (1), "urgent" (2) or "non-urgent" (3), matched
/// ignoring case and written in lower case. Any other word throws KtSipParseError
/// "Invalid Priority header".
class KtSipPriorityHeader : public KtSipHeaderImpl<KtSipPriorityHeader, HeaderPriority, KtSipKeywordHeader> {
    KT_SIP_KEYWORD_HEADER_MEMBERS(KtSipPriorityHeader)

    KT_SIP_KEYWORD_ACCESSORS(Priority)
};

#endif
