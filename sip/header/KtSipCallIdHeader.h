// The Call-ID header (compact form "i").
#ifndef KTSIP_KT_SIP_CALL_ID_HEADER_H
#define KTSIP_KT_SIP_CALL_ID_HEADER_H

#include "KtSipTokenHeader.h"

/// Call-ID: the call identifier, read up to white space (commas included: a Call-ID line
/// is never split). An empty value throws KtSipParseError "Invalid Call-ID header".
class KtSipCallIdHeader : public KtSipCompactHeaderImpl<KtSipCallIdHeader, HeaderCallId, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipCallIdHeader)
    static const KtString sCompactToken;

    /// The identifier.
    const KtConstString& getValue() const { return m_Value; }
};

#endif
