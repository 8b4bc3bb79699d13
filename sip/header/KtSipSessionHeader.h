// The Session header.
#ifndef KTSIP_KT_SIP_SESSION_HEADER_H
#define KTSIP_KT_SIP_SESSION_HEADER_H

#include "KtSipKeywordHeader.h"

/// Session: "Media" (0), "QoS" (1) or "Security" (2), matched ignoring case. Any other
/// word (one longer than eight characters included) throws KtSipParseError
/// "Invalid value in Session header".
class KtSipSessionHeader : public KtSipHeaderImpl<KtSipSessionHeader, HeaderSession, KtSipKeywordHeader> {
    KT_SIP_KEYWORD_HEADER_MEMBERS(KtSipSessionHeader)

    KT_SIP_KEYWORD_ACCESSORS(Session)
};

#endif
