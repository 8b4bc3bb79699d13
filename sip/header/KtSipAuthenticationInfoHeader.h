// The Authentication-Info header.
#ifndef KTSIP_KT_SIP_AUTHENTICATION_INFO_HEADER_H
#define KTSIP_KT_SIP_AUTHENTICATION_INFO_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"

/// The Authentication-Info header (RFC 3261 20.6): the server's answer to successful Digest
/// credentials, a comma-separated pair list (nextnonce, rspauth, qop, nc, cnonce, ...).
/// The whole line is one header: its commas never split it. Names keep their case.
class KtSipAuthenticationInfoHeader
    : public KtSipHeaderImpl<KtSipAuthenticationInfoHeader, HeaderAuthenticationInfo> {
public:
    /// "Authentication-Info".
    static const KtString sToken;

    /// An empty header.
    KtSipAuthenticationInfoHeader();
    /// Copies the pair list; next is nil.
    KtSipAuthenticationInfoHeader(const KtSipAuthenticationInfoHeader& other);
    ~KtSipAuthenticationInfoHeader() override;

    /// Reads the pair list to the end of the line. Throws KtException "Buffer overflew !!!"
    /// for a list longer than 1024 buffered bytes.
    void doParse(KtInputStream& in) override;
    /// Writes nextnonce="..." (empty when absent), then rspauth="..." when present, then
    /// qop=...,nc=...,cnonce="..." when a qop is present (qop unquoted). Other pairs are not
    /// written.
    void doSerialize(KtOutputStream& out) const override;

    /// The value of the pair `name` (exact name; nil when absent).
    KtString getValue(const char* name) const { return m_Params->getValue(name); }
    /// Sets (replaces or appends) the pair `name`; a null value stores the empty string.
    void setValue(const char* name, const char* value) { m_Params->setValue(name, value ? value : ""); }
    /// The next nonce the client is to use.
    KtString getNextNonce() const { return getValue("nextnonce"); }
    void setNextNonce(const char* nonce) { setValue("nextnonce", nonce); }
    /// The response authentication digest.
    KtString getRspAuth() const { return getValue("rspauth"); }
    void setRspAuth(const char* rspauth) { setValue("rspauth", rspauth); }
    /// The pair list itself (separator ",").
    const KtHandle<KtParameters>& getParameters() const { return m_Params; }

private:
    KtHandle<KtParameters> m_Params;
};

#endif
