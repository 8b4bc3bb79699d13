// The Alert-Info header: a ring tone or alerting resource.
#ifndef KTSIP_KT_SIP_ALERT_INFO_HEADER_H
#define KTSIP_KT_SIP_ALERT_INFO_HEADER_H

#include "KtSipUriParamsHeader.h"

/// Alert-Info (id 10): a URI (written between double quotes) with ";" parameters.
class KtSipAlertInfoHeader
    : public KtSipHeaderImpl<KtSipAlertInfoHeader, HeaderAlertInfo, KtSipUriParamsHeader> {
public:
    static const KtString sToken;  ///< "Alert-Info"

    /// No URI, an empty parameter list.
    KtSipAlertInfoHeader();
    /// Parses the header value `text`.
    explicit KtSipAlertInfoHeader(const char* text);
    /// Deep copy (next is nil).
    KtSipAlertInfoHeader(const KtSipAlertInfoHeader& other);
    ~KtSipAlertInfoHeader() override;
};

#endif
