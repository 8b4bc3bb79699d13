// Generated Call-ID values.
#ifndef KTSIP_KT_SIP_CALLID_H
#define KTSIP_KT_SIP_CALLID_H

#include "KtString.h"
#include "TorvaneMemAllocator.h"

/// A Call-ID value of the form UUID "@" host, for example
/// "0b6c5c7e-3f5e-4a1d-9a77-2a7d1c1f0e42@host.example". Each reGenerate draws a new
/// random UUID, so two values made in one process (or in two) differ.
class KtSipCallid : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipMessage")
public:
    /// An empty value; call reGenerate to fill it.
    KtSipCallid();
    /// A new value for `host` (see reGenerate).
    explicit KtSipCallid(const char* host);
    /// Shares the current text (reGenerate replaces it, so the source is not affected).
    KtSipCallid(const KtSipCallid& other);
    ~KtSipCallid() override;
    KtSipCallid& operator=(const KtSipCallid&) = delete;

    /// A copy holding the same text.
    KtSipCallid* clone() const override;

    /// Replaces the value by a new UUID, "@" and `host`. A null `host` uses the local host
    /// name (KtInetAddress::sGetLocalHost(250).getHostName()), looked up once per process
    /// and cached; a failing lookup throws what the lookup throws.
    void reGenerate(const char* host);

    /// The current value (empty before the first reGenerate).
    const KtString& getValue() const { return m_Value; }
    /// The current value as text.
    const char* c_str() const { return m_Value.c_str(); }

    /// The cached local host name used for a null host (looked up on first use; shared by
    /// all threads without a lock).
    static const KtString& sGetLocalHostName();

private:
    KtString m_Value;
};

#endif
