// The Priority header.
#ifndef KTSIP_KT_SIP_PRIORITY_HEADER_H
#define KTSIP_KT_SIP_PRIORITY_HEADER_H

#include "KtSipKeywordHeader.h"

/// Priority: "normal" (0), "emergency" (1), "urgent" (2) or "non-urgent" (3), matched
/// ignoring case and written in lower case. Any other word throws KtSipParseError
/// "Invalid Priority header".
class KtSipPriorityHeader : public KtSipHeaderImpl<KtSipPriorityHeader, HeaderPriority, KtSipKeywordHeader> {
public:
    static const KtString sToken;

    /// Priority normal.
    KtSipPriorityHeader() = default;
    /// The priority `priority` (throws as setPriority).
    explicit KtSipPriorityHeader(const char* priority) { setKeyword(priority); }
    KtSipPriorityHeader(const KtSipPriorityHeader& other) = default;

    /// Sets the priority from its word.
    void setPriority(const char* priority) { setKeyword(priority); }
    /// The priority word, in lower case.
    const char* getPriority() const { return getKeyword(); }

protected:
    const KtSipKeywordSyntax& getSyntax() const override;
};

#endif
