// The Accept header: one media range per element.
#ifndef KTSIP_KT_SIP_ACCEPT_HEADER_H
#define KTSIP_KT_SIP_ACCEPT_HEADER_H

#include "KtSipMediaTypeHeader.h"

/// Accept (id 8): `type/subtype` with parameters; a list of ranges becomes a chain.
class KtSipAcceptHeader : public KtSipHeaderImpl<KtSipAcceptHeader, HeaderAccept, KtSipMediaTypeHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipAcceptHeader)

    /// The type ("application" of application/sdp).
    KtString getType() const { return m_type.str(); }
    /// The subtype ("sdp" of application/sdp).
    KtString getSubtype() const { return m_subtype.str(); }
    /// "type/subtype" as a new string.
    KtString getMediaRange() const { return joinMedia(); }
    /// Sets type and subtype from "type/subtype" (split at the first "/"); a text without
    /// "/" is the type with the subtype "*"; null gives "*" for both.
    void setMediaRange(const char* mediaRange) { splitMedia(mediaRange); }
};

#endif
