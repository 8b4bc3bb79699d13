// The Authorization header, and the base of Proxy-Authorization: credentials.
#ifndef KTSIP_KT_SIP_AUTHORIZATION_HEADER_H
#define KTSIP_KT_SIP_AUTHORIZATION_HEADER_H

#include "KtSipCredentialsInfo.h"
#include "KtSipHeader.h"

/// The Authorization header (RFC 3261 20.7): a user agent's credentials, "scheme SP
/// pair-list". The value is read to the end of the line, so commas inside it never split the
/// header. KtSipProxyAuthorizationHeader derives from it and changes only its name.
class KtSipAuthorizationHeader : public KtSipHeaderImpl<KtSipAuthorizationHeader, HeaderAuthorization> {
    KT_SIP_HEADER_VALUE_MEMBERS(KtSipAuthorizationHeader, KtSipCredentialsInfo)
    /// Copies the credentials deeply; next is nil.
    KtSipAuthorizationHeader(const KtSipAuthorizationHeader& other);

    /// Reads "scheme SP pair-list" from the rest of the line. Throws KtException
    /// "Credentials type not supported !" for a scheme other than Digest and
    /// "Buffer overflew !!!" for an over-long pair list.
    void doParse(KtInputStream& in) override;
    /// Writes the scheme, one space and the credentials' list; nothing when none is set.
    void doSerialize(KtOutputStream& out) const override;

    /// The credentials, nil until parsed or set.
    const KtHandle<KtSipCredentialsInfo>& getCredentials() const { return m_Credentials; }
    /// Replaces the credentials.
    void setCredentials(const KtHandle<KtSipCredentialsInfo>& credentials) { m_Credentials = credentials; }
    /// The credentials' scheme ("Digest"); "" when none is set.
    KtString getAuthenticationType() const;

protected:
    /// For headers of the same shape under another name.
    KtSipAuthorizationHeader(const KtString& token, HeaderID id) : KtSipHeaderImpl(token, id) {}

    KtHandle<KtSipCredentialsInfo> m_Credentials;
};

#endif
