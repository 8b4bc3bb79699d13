// The Content-Type header: the media type of the body.
#ifndef KTSIP_KT_SIP_CONTENT_TYPE_HEADER_H
#define KTSIP_KT_SIP_CONTENT_TYPE_HEADER_H

#include "KtSipMediaTypeHeader.h"

/// Content-Type (compact "c", id 21): `type/subtype` with parameters such as charset.
/// A malformed value fails with the media-type shape's message "Invalid Accept header".
class KtSipContentTypeHeader
    : public KtSipCompactHeaderImpl<KtSipContentTypeHeader, HeaderContentType, KtSipMediaTypeHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipContentTypeHeader)
    static const KtString sCompactToken;
    /// "type/subtype" as a new string.
    KtString getMediaType() const { return joinMedia(); }
    /// Sets type and subtype from "type/subtype" (as KtSipMediaTypeHeader::splitMedia).
    void setMediaType(const char* mediaType) { splitMedia(mediaType); }
    /// The type and the subtype ("text" and "plain" of text/plain).
    const KtConstString& getType() const { return m_type; }
    const KtConstString& getSubtype() const { return m_subtype; }
};

#endif
