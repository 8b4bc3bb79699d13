// The Priority header.
#ifndef KTSIP_KT_SIP_PRIORITY_HEADER_H
#define KTSIP_KT_SIP_PRIORITY_HEADER_H

#include "KtSipKeywordHeader.h"

/// Priority: "normal" (0), "emergency" (1), "urgent" (2) or "non-urgent" (3), matched
/// ignoring case and written in lower case. Any other word throws KtSipParseError
/// "Invalid Priority header".
class KtSipPriorityHeader : public KtSipHeaderImpl<KtSipPriorityHeader, HeaderPriority, KtSipKeywordHeader> {
    KT_SIP_KEYWORD_HEADER_MEMBERS(KtSipPriorityHeader)

    /// Sets the priority from its word.
    void setPriority(const char* priority) { setKeyword(priority); }
    /// The priority word, in lower case.
    const char* getPriority() const { return getKeyword(); }
};

#endif
