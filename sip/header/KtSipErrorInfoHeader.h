// The Error-Info header: a pointer to more information about an error.
#ifndef KTSIP_KT_SIP_ERROR_INFO_HEADER_H
#define KTSIP_KT_SIP_ERROR_INFO_HEADER_H

#include "KtSipUriParamsHeader.h"

/// Error-Info (id 24): a URI (written between double quotes) with ";" parameters.
class KtSipErrorInfoHeader : public KtSipHeaderImpl<KtSipErrorInfoHeader, HeaderErrorInfo, KtSipUriParamsHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipErrorInfoHeader)
};

#endif
