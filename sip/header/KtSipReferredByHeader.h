// The Referred-By header: the referrer's name-address with parameters.
#ifndef KTSIP_KT_SIP_REFERRED_BY_HEADER_H
#define KTSIP_KT_SIP_REFERRED_BY_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// Referred-By (id 42): a name-address followed by ";" parameters. No validity check.
class KtSipReferredByHeader
    : public KtSipHeaderImpl<KtSipReferredByHeader, HeaderReferredBy, KtSipNameAddrParamsHeader> {
    KT_SIP_ADDRESS_HEADER_CONSTRUCTORS(KtSipReferredByHeader)
    /// An empty name-address and parameter list.
    KtSipReferredByHeader() = default;
    KtSipReferredByHeader(const KtSipReferredByHeader& other) = default;
};

#endif
