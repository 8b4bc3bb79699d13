// The Accept-Encoding header.
#ifndef KTSIP_KT_SIP_ACCEPT_ENCODING_HEADER_H
#define KTSIP_KT_SIP_ACCEPT_ENCODING_HEADER_H

#include "KtSipTokenHeader.h"

/// Accept-Encoding: one content coding per header object, with its parameters (";q=0.5"). An
/// empty value is accepted (an empty Accept-Encoding line means the identity coding only).
class KtSipAcceptEncodingHeader
    : public KtSipHeaderImpl<KtSipAcceptEncodingHeader, HeaderAcceptEncoding, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipAcceptEncodingHeader)

    /// True when the coding is the wildcard "*".
    bool isWildcard() const { return m_Value == "*"; }
};

#endif
