// The Contact header: a name-address with parameters, or the wildcard "*".
#ifndef KTSIP_KT_SIP_CONTACT_HEADER_H
#define KTSIP_KT_SIP_CONTACT_HEADER_H

#include "KtSipNameAddrParamsHeader.h"

/// Contact (compact "m", id 18). Parameters such as "q", "expires" and "transport" are
/// ordinary entries of the parameter list. A comment set by the application is written
/// after the parameters as " (comment)"; parsing never fills it.
class KtSipContactHeader
    : public KtSipCompactHeaderImpl<KtSipContactHeader, HeaderContact, KtSipNameAddrParamsHeader> {
    KT_SIP_HEADER_TEXT_MEMBERS(KtSipContactHeader)
    static const KtString sCompactToken;  ///< "m"

    /// "*" (white space before it skipped) makes a wildcard and ends the value: nothing
    /// after the star is read. Otherwise a name-address with parameters.
    void doParse(KtInputStream& in) override;
    /// "*" or the name-address; ";" and the parameters when any; " (" comment ")" when set.
    void doSerialize(KtOutputStream& out) const override;

    /// True for the wildcard "*".
    bool isWildcard() const { return m_wildcard; }
    /// Makes the header a wildcard (or not).
    void setWildcard(bool wildcard) { m_wildcard = wildcard; }
    /// The "expires" parameter; nil when absent.
    KtString getExpires() const { return KtParameters::sValueIn(m_parameters.peek(), "expires"); }
    /// The comment (nil or empty when none).
    const KtString& getComment() const { return m_comment; }
    /// Sets the comment written after the parameters (null or "" removes it).
    void setComment(const char* comment) { m_comment = comment && *comment ? KtString(comment) : KtString(); }

private:
    bool m_wildcard = false;
    KtString m_comment;
};

#endif
