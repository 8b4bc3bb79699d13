// The Content-Length header (compact form "l").
#ifndef KTSIP_KT_SIP_CONTENT_LENGTH_HEADER_H
#define KTSIP_KT_SIP_CONTENT_LENGTH_HEADER_H

#include "KtSipUnsignedHeader.h"

/// Content-Length: the length of the body in bytes. A value that is not a number throws
/// KtSipParseError "Invalid Content-Length header".
class KtSipContentLengthHeader
    : public KtSipCompactHeaderImpl<KtSipContentLengthHeader, HeaderContentLength, KtSipUnsignedHeader> {
    KT_SIP_UNSIGNED_HEADER_MEMBERS(KtSipContentLengthHeader)
    static const KtString sCompactToken;
};

#endif
