// The abstract authentication credentials and the factory of credentials by scheme.
#ifndef KTSIP_KT_SIP_CREDENTIALS_INFO_H
#define KTSIP_KT_SIP_CREDENTIALS_INFO_H

#include "KtOutputStream.h"
#include "KtSipAuthInfoShape.h"
#include "KtString.h"
#include "TorvaneMemAllocator.h"

/// Credentials of some authentication scheme, as carried by Authorization and
/// Proxy-Authorization. "Digest" is the only scheme implemented (KtSipDigestCredentialsInfo).
/// Credentials come from the "KtSipAuth" pool. constructFrom refuses any other scheme with
/// KtException "Credentials type not supported !".
class KtSipCredentialsInfo : public KtObject {
    TORVANE_POOLED_OBJECT("KtSipAuth")
    KT_SIP_AUTH_INFO_FACTORY(KtSipCredentialsInfo)

public:
    ~KtSipCredentialsInfo() override;
    /// A deep copy of the credentials.
    KtSipCredentialsInfo* clone() const override = 0;

    /// Server side: takes `username`, `password` and `realm` as the expected values and
    /// returns true when the response the peer sent matches them.
    virtual bool validate(const char* username, const char* password, const char* realm) = 0;
    /// Writes the credentials' parameter list (without the scheme word).
    virtual void serialize(KtOutputStream& out) const = 0;
    /// The user name ("" when absent).
    virtual KtString getUsername() const = 0;
    /// The password ("" when absent).
    virtual KtString getPassword() const = 0;
    /// The protection realm ("" when absent).
    virtual KtString getRealm() const = 0;
    /// The scheme word ("Digest").
    virtual KtString getType() const = 0;
    /// Sets the user name.
    virtual void setUsername(const char* username) = 0;
    /// Sets the password.
    virtual void setPassword(const char* password) = 0;
};

#endif
