// The From header: the initiator's name-address and header parameters (the dialog tag).
#ifndef KTSIP_KT_SIP_FROM_HEADER_H
#define KTSIP_KT_SIP_FROM_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// From (compact "f", id 2). Every constructor but the default one, and every parse,
/// ends with checkValidity: the URI must be present, and a sip: URL with URI parameters
/// loses "transport", "maddr", "ttl" and its headers.
class KtSipFromHeader
    : public KtSipCompactHeaderImpl<KtSipFromHeader, HeaderFrom, KtSipNameAddrParamsHeader> {
    KT_SIP_ADDRESS_HEADER_CONSTRUCTORS(KtSipFromHeader)
    static const KtString sCompactToken;  ///< "f"

    /// An empty name-address and an empty parameter list (no check).
    KtSipFromHeader() = default;
    /// Deep copy (next is nil), checked.
    KtSipFromHeader(const KtSipFromHeader& other);

    /// Reads the name-address and parameters, then checks them.
    void doParse(KtInputStream& in) override;
    /// Throws KtSipParseError "Invalid From header" when there is no URI; strips
    /// transport, maddr, ttl and the URL headers from a sip: URL that has parameters.
    void checkValidity();

    /// The "tag" parameter; nil when absent.
    KtString getTag() const { return KtParameters::sValueIn(m_parameters.peek(), KtSipHeader::sTagToken); }
    /// Sets the "tag" parameter.
    void setTag(const char* tag) { m_parameters->setValue(KtSipHeader::sTagToken, tag); }
};

#endif
