// The Referred-By header: the referrer's name-address with parameters.
#ifndef KTSIP_KT_SIP_REFERRED_BY_HEADER_H
#define KTSIP_KT_SIP_REFERRED_BY_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// Referred-By (id 42): a name-address followed by ";" parameters. No validity check.
class KtSipReferredByHeader
    : public KtSipHeaderImpl<KtSipReferredByHeader, HeaderReferredBy, KtSipNameAddrParamsHeader> {
public:
    static const KtString sToken;  ///< "Referred-By"

    /// An empty name-address and parameter list.
    KtSipReferredByHeader();
    /// Parses the header value `text`.
    explicit KtSipReferredByHeader(const char* text);
    /// Clones of `nameAddress` and `parameters` (empty ones for nil handles).
    KtSipReferredByHeader(const KtHandle<KtSipNameAddress>& nameAddress, const KtHandle<KtParameters>& parameters);
    /// A name-address without display name around `url` (held) and a clone of `parameters`.
    KtSipReferredByHeader(const KtHandle<KtSipURL>& url, const KtHandle<KtParameters>& parameters);
    /// Deep copy (next is nil).
    KtSipReferredByHeader(const KtSipReferredByHeader& other);
    ~KtSipReferredByHeader() override;

};

#endif
