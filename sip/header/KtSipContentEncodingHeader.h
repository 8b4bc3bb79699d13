// The Content-Encoding header (compact form "e").
#ifndef KTSIP_KT_SIP_CONTENT_ENCODING_HEADER_H
#define KTSIP_KT_SIP_CONTENT_ENCODING_HEADER_H

#include "KtSipTokenHeader.h"

/// Content-Encoding (compact form "e"): one content coding per header object. An empty value
/// throws KtSipParseError "Invalid Content-Encoding header".
class KtSipContentEncodingHeader
    : public KtSipCompactHeaderImpl<KtSipContentEncodingHeader, HeaderContentEncoding, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipContentEncodingHeader)
    static const KtString sCompactToken;
};

#endif
