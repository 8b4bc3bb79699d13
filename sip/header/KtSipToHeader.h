// The To header: the recipient's name-address and header parameters (the dialog tag).
#ifndef KTSIP_KT_SIP_TO_HEADER_H
#define KTSIP_KT_SIP_TO_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// To (compact "t", id 3). The twin of KtSipFromHeader: every constructor but the default
/// one, and every parse, ends with checkValidity.
class KtSipToHeader : public KtSipCompactHeaderImpl<KtSipToHeader, HeaderTo, KtSipNameAddrParamsHeader> {
    KT_SIP_ADDRESS_HEADER_CONSTRUCTORS(KtSipToHeader)
    static const KtString sCompactToken;  ///< "t"
    static const KtString sTagToken;      ///< "tag"

    /// An empty name-address and an empty parameter list (no check).
    KtSipToHeader() = default;
    /// Deep copy (next is nil), checked.
    KtSipToHeader(const KtSipToHeader& other);

    /// Reads the name-address and parameters, then checks them.
    void doParse(KtInputStream& in) override;
    /// Throws KtSipParseError "Invalid To header" when there is no URI; strips transport,
    /// maddr, ttl and the URL headers from a sip: URL that has parameters.
    void checkValidity();

    /// The "tag" parameter; nil when absent.
    KtString getTag() const { return KtParameters::sValueIn(m_parameters.peek(), KtSipHeader::sTagToken); }
    /// Sets the "tag" parameter.
    void setTag(const char* tag) { m_parameters->setValue(KtSipHeader::sTagToken, tag); }
};

#endif
