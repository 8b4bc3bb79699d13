// The MIME-Version header.
#ifndef KTSIP_KT_SIP_MIME_VERSION_HEADER_H
#define KTSIP_KT_SIP_MIME_VERSION_HEADER_H

#include "KtSipTokenHeader.h"

/// MIME-Version: the version text ("1.0"). An empty value throws KtSipParseError "Invalid
/// MIMEVersion header".
class KtSipMIMEVersionHeader : public KtSipHeaderImpl<KtSipMIMEVersionHeader, HeaderMIMEVersion, KtSipTokenHeader> {
    KT_SIP_TOKEN_HEADER_MEMBERS(KtSipMIMEVersionHeader)

    /// The version text.
    const KtConstString& getValue() const { return m_Value; }
};

#endif
