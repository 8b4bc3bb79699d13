// The Session-Expires header (session timers, compact form "x").
#ifndef KTSIP_KT_SIP_SESSION_EXPIRES_HEADER_H
#define KTSIP_KT_SIP_SESSION_EXPIRES_HEADER_H

#include "KtParameters.h"
#include "KtSipUnsignedHeader.h"

/// Session-Expires: the session interval in seconds and its parameters (refresher).
/// A value that is not a number throws KtSipParseError "Invalid Session-Expires header";
/// a refresher other than "uac" or "uas" (any case) throws "Invalid Refresher in
/// Session-Expires Header" when parsed or checked. A header without refresher is valid.
class KtSipSessionExpiresHeader
    : public KtSipCompactHeaderImpl<KtSipSessionExpiresHeader, HeaderSessionExpires, KtSipUnsignedHeader> {
public:
    static const KtString sToken;
    static const KtString sCompactToken;
    static const char sRefresher[];  ///< "refresher"
    static const char sUAC[];        ///< "uac"
    static const char sUAS[];        ///< "uas"

    /// 0 seconds, no parameters.
    KtSipSessionExpiresHeader() = default;
    /// `seconds`, no parameters.
    explicit KtSipSessionExpiresHeader(unsigned seconds) { setValue(seconds); }
    /// `seconds` and refresher `refresher` ("uac" or "uas"; null for none). Throws as
    /// checkValidity for any other refresher.
    KtSipSessionExpiresHeader(unsigned seconds, const char* refresher);
    /// Copies the seconds and a copy of the parameter list; next is nil.
    KtSipSessionExpiresHeader(const KtSipSessionExpiresHeader& other);

    /// The parameters; nil until one is parsed or set.
    const KtHandle<KtParameters>& getParameters() const { return m_Parameters; }
    /// The refresher parameter; nil when absent.
    KtString getRefresher() const;
    /// Sets the refresher parameter (null removes it).
    void setRefresher(const char* refresher);
    /// Throws KtSipParseError "Invalid Refresher in Session-Expires Header" when a refresher
    /// parameter is present and is neither "uac" nor "uas" ignoring case.
    void checkValidity() const;

    /// Reads the seconds and, after ";", the parameters; then checks validity.
    void doParse(KtInputStream& in) override;
    /// Writes the seconds, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

protected:
    const KtSipUnsignedSyntax& getSyntax() const override;

private:
    // checkValidity; `fresh` when the list was just read by doParse (read without its mutex).
    void checkRefresher(bool fresh) const;
    KtHandle<KtParameters> m_Parameters;
};

#endif
