// The Alert-Info header: a ring tone or alerting resource.
#ifndef KTSIP_KT_SIP_ALERT_INFO_HEADER_H
#define KTSIP_KT_SIP_ALERT_INFO_HEADER_H

#include "KtSipUriParamsHeader.h"

/// Alert-Info (id 10): a URI (written between double quotes) with ";" parameters.
class KtSipAlertInfoHeader : public KtSipHeaderImpl<KtSipAlertInfoHeader, HeaderAlertInfo, KtSipUriParamsHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipAlertInfoHeader)
};

#endif
