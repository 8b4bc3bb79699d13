// The In-Reply-To header.
#ifndef KTSIP_KT_SIP_IN_REPLY_TO_HEADER_H
#define KTSIP_KT_SIP_IN_REPLY_TO_HEADER_H

#include "KtSipTokenHeader.h"

/// In-Reply-To: one Call-ID per header object; a comma-separated list becomes a chain.
/// An empty value throws KtSipParseError "Invalid Call-ID header" (the Call-ID text).
class KtSipInReplyToHeader : public KtSipHeaderImpl<KtSipInReplyToHeader, HeaderInReplyTo, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipInReplyToHeader)

    /// The Call-ID.
    const KtConstString& getValue() const { return m_Value; }
};

#endif
