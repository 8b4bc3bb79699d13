// Digest credentials: the client's answer to a Digest challenge, and the server's means to
// check one (RFC 2617 / RFC 3261 section 22.4).
#ifndef KTSIP_KT_SIP_DIGEST_CREDENTIALS_INFO_H
#define KTSIP_KT_SIP_DIGEST_CREDENTIALS_INFO_H

#include "KtInputStream.h"
#include "KtParameters.h"
#include "KtSipCredentialsInfo.h"
#include "KtSipDigestChallengeInfo.h"

/// Digest credentials. Every value is a named entry of one parameter list:
/// "realm", "nonce", "algorithm", "opaque" and "qopoptions" (the challenge's qop) copied from
/// the challenge; "username" and "password"; "qop", "cnonce" and "nc" from setQop; "method"
/// and "uri", which the owner sets (setMethod, setUri or setValue) before computing;
/// "entity-body" from setEntityBody; "response" when parsed from a received header.
/// Entries that are absent read as empty strings.
///
/// The algorithm is MD5 when there is no "algorithm" entry; an entry that does not begin
/// with "MD5" (case-sensitive) is refused with KtException "Unsupported Algorithm !!!" by the
/// constructor and by every computation. Exactly "MD5-sess" selects the session form of A1.
class KtSipDigestCredentialsInfo : public KtSipCredentialsInfo {
public:
    /// The scheme word, "Digest".
    static const KtString sm_Type;

    /// Empty credentials (for reading a received list).
    KtSipDigestCredentialsInfo();
    /// The answer to `challenge` for `username` and `password`: copies the challenge's realm,
    /// nonce, algorithm, opaque and qop (as "qopoptions"), each only when the challenge has
    /// it. Throws KtException "Unsupported Algorithm !!!" for an algorithm not beginning with
    /// "MD5", and "Digest challenge missing !" for a nil challenge.
    KtSipDigestCredentialsInfo(KtHandle<KtSipDigestChallengeInfo> challenge, const char* username,
                               const char* password);
    KT_SIP_DIGEST_INFO_MEMBERS(KtSipDigestCredentialsInfo)

    /// Chooses the quality of protection: when the offered qop options contain `qop` (as a
    /// substring), sets "qop", "cnonce" and "nc" (`nc` as eight lower-case hexadecimal
    /// digits). Otherwise, and for a null or empty `qop`, nothing is set.
    void setQop(const char* qop, const char* cnonce, int nc);
    /// Sets "entity-body" to the hexadecimal MD5 of the NUL-terminated `body`, for qop
    /// "auth-int"; an empty or null body sets it to the empty string.
    void setEntityBody(const char* body);
    /// As above for a body of any bytes (nil or empty gives the empty string).
    void setEntityBody(const KtHandle<KtByteArray>& body);
    /// Sets the request method used in A2.
    void setMethod(const char* method) { setEntry("method", method); }
    /// Sets the request URI used in A2 and written as "uri".
    void setUri(const char* uri) { setEntry("uri", uri); }

    /// MD5 of A1 (16 bytes): of username:realm:password, or for "MD5-sess" of
    /// HA1:nonce:cnonce with the binary HA1, taken as a NUL-terminated text (so it ends at
    /// the first zero byte of HA1; kept for compatibility with existing peers).
    KtHandle<KtByteArray> generateA1() const;
    /// MD5 of A2 (16 bytes): of method:uri, plus ":" and the entity-body hash for "auth-int".
    KtHandle<KtByteArray> generateA2() const;
    /// The request digest (16 bytes): MD5 of hex(HA1):nonce:[nc:cnonce:qop:]hex(HA2), the qop
    /// part present when "qop" is exactly "auth" or "auth-int".
    KtHandle<KtByteArray> getRequestDigest() const;

    /// Stores the three values and compares the hexadecimal request digest with the received
    /// "response" entry (exact comparison); false when there is no response.
    bool validate(const char* username, const char* password, const char* realm) override;
    /// Writes username, realm, nonce, response (the received one, else the computed one),
    /// uri, then algorithm, opaque and qop/nc/cnonce when present. The password, qop options,
    /// method and entity-body are never written.
    void serialize(KtOutputStream& out) const override;

    KtString getUsername() const override { return m_Params->getValue("username"); }
    KtString getPassword() const override { return m_Params->getValue("password"); }
    KtString getRealm() const override { return m_Params->getValue("realm"); }
    /// "Digest".
    KtString getType() const override;
    void setUsername(const char* username) override { setEntry("username", username); }
    void setPassword(const char* password) override { setEntry("password", password); }

    /// The entry `name` (exact name; nil when absent).
    KtString getValue(const char* name) const { return m_Params->getValue(name); }
    /// True when the entry `name` exists.
    bool hasValue(const char* name) const { return m_Params->hasName(name); }
    /// Sets (replaces or appends) the entry `name`; a null value stores the empty string.
    void setValue(const char* name, const char* value) { setEntry(name, value); }
    /// The entry list itself.
    const KtHandle<KtParameters>& getParameters() const { return m_Params; }

private:
    void setEntry(const char* name, const char* value) { m_Params->setValue(name, value ? value : ""); }
    void checkAlgorithm() const;

    KtHandle<KtParameters> m_Params;
};

#endif
