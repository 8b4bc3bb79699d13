// The Error-Info header: a pointer to more information about an error.
#ifndef KTSIP_KT_SIP_ERROR_INFO_HEADER_H
#define KTSIP_KT_SIP_ERROR_INFO_HEADER_H

#include "KtSipUriParamsHeader.h"

/// Error-Info (id 24): a URI (written between double quotes) with ";" parameters.
class KtSipErrorInfoHeader
    : public KtSipHeaderImpl<KtSipErrorInfoHeader, HeaderErrorInfo, KtSipUriParamsHeader> {
public:
    static const KtString sToken;  ///< "Error-Info"

    /// No URI, an empty parameter list.
    KtSipErrorInfoHeader();
    /// Parses the header value `text`.
    explicit KtSipErrorInfoHeader(const char* text);
    /// Deep copy (next is nil).
    KtSipErrorInfoHeader(const KtSipErrorInfoHeader& other);
    ~KtSipErrorInfoHeader() override;
};

#endif
