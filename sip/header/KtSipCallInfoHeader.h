// The Call-Info header: more information about the caller or callee.
#ifndef KTSIP_KT_SIP_CALL_INFO_HEADER_H
#define KTSIP_KT_SIP_CALL_INFO_HEADER_H

#include "KtSipUriParamsHeader.h"

/// Call-Info (id 16): a URI (written between double quotes) with ";" parameters.
/// Call-Info is not registered: a received Call-Info line is kept as an unknown header;
/// this class is for headers the application builds.
class KtSipCallInfoHeader : public KtSipHeaderImpl<KtSipCallInfoHeader, HeaderCallInfo, KtSipUriParamsHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipCallInfoHeader)
};

#endif
