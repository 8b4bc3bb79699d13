// Generated Call-ID values.
#ifndef KTSIP_KT_SIP_CALLID_H
#define KTSIP_KT_SIP_CALLID_H

#include "KtSipGeneratedValue.h"

/// A Call-ID value of the form UUID "@" host, for example
/// "0b6c5c7e-3f5e-4a1d-9a77-2a7d1c1f0e42@host.example". Each reGenerate draws a new
/// random UUID, so two values made in one process (or in two) differ.
class KtSipCallid : public KtSipGeneratedValue {
public:
    /// An empty value; call reGenerate to fill it.
    KtSipCallid() = default;
    /// A new value for `host` (see reGenerate).
    explicit KtSipCallid(const char* host);
    /// Shares the current text.
    KtSipCallid(const KtSipCallid& other) = default;

    /// A copy holding the same text.
    KtSipCallid* clone() const override;

    /// Replaces the value by a new UUID, "@" and `host`. A null `host` uses the local host
    /// name (KtInetAddress::sGetLocalHost(250).getHostName()), looked up once per process
    /// and cached; a failing lookup throws what the lookup throws.
    void reGenerate(const char* host);

    /// The cached local host name used for a null host (looked up on first use; shared by
    /// all threads without a lock).
    static const KtString& sGetLocalHostName();
};

#endif
