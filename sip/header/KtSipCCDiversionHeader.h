// The CC-Diversion header: a diverting party's name-address with parameters.
#ifndef KTSIP_KT_SIP_CC_DIVERSION_HEADER_H
#define KTSIP_KT_SIP_CC_DIVERSION_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// CC-Diversion (id 17): a name-address followed by ";" parameters (reason, counter, ...).
class KtSipCCDiversionHeader
    : public KtSipHeaderImpl<KtSipCCDiversionHeader, HeaderCCDiversion, KtSipNameAddrParamsHeader> {
public:
    static const KtString sToken;  ///< "CC-Diversion"

    /// An empty name-address and parameter list.
    KtSipCCDiversionHeader();
    /// Parses the header value `text`.
    explicit KtSipCCDiversionHeader(const char* text);
    /// Deep copy (next is nil).
    KtSipCCDiversionHeader(const KtSipCCDiversionHeader& other);
    ~KtSipCCDiversionHeader() override;
};

#endif
