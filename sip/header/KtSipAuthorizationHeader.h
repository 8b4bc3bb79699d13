// The Authorization header, and the base of Proxy-Authorization: credentials.
#ifndef KTSIP_KT_SIP_AUTHORIZATION_HEADER_H
#define KTSIP_KT_SIP_AUTHORIZATION_HEADER_H

#include "KtSipAuthValueHeader.h"
#include "KtSipCredentialsInfo.h"

/// The Authorization header (RFC 3261 20.7): a user agent's credentials (see
/// KtSipAuthValueHeader); a scheme other than Digest throws KtException "Credentials type
/// not supported !". KtSipProxyAuthorizationHeader derives from it and changes only its name.
class KtSipAuthorizationHeader : public KtSipHeaderImpl<KtSipAuthorizationHeader, HeaderAuthorization,
                                                        KtSipAuthValueHeader<KtSipCredentialsInfo>> {
    KT_SIP_HEADER_VALUE_MEMBERS(KtSipAuthorizationHeader, KtSipCredentialsInfo)
    KtSipAuthorizationHeader(const KtSipAuthorizationHeader& other) = default;

    /// The credentials, nil until parsed or set.
    const KtHandle<KtSipCredentialsInfo>& getCredentials() const { return m_value; }
    /// Replaces the credentials.
    void setCredentials(const KtHandle<KtSipCredentialsInfo>& credentials) { m_value = credentials; }
    /// The credentials' scheme ("Digest"); "" when none is set.
    KtString getAuthenticationType() const { return valueType(); }

protected:
    /// For headers of the same shape under another name.
    KtSipAuthorizationHeader(const KtString& token, HeaderID id) : KtSipHeaderImpl(token, id) {}
    const KtSipHeaderScopes& getScopes() const override;
};

#endif
