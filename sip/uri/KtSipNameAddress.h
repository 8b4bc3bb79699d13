// The name-address of the address headers: an optional display name and a URI.
#ifndef KTSIP_KT_SIP_NAME_ADDRESS_H
#define KTSIP_KT_SIP_NAME_ADDRESS_H

#include "KtHandle.h"
#include "KtInputStream.h"
#include "KtLazyHandle.h"
#include "KtOutputStream.h"
#include "KtSipURL.h"
#include "KtString.h"
#include "KtURI.h"
#include "TorvaneMemAllocator.h"

/// An address with or without a display name: `"Display" <uri>`, `Display <uri>`, `<uri>` or a bare URI.
/// The display name is kept exactly as written (quotes and escapes included, trimmed).
/// On output the URI is always written between angle brackets.
class KtSipNameAddress : public KtObject {
    TORVANE_POOLED_OBJECT("KtURI")
public:
    /// Empty display name, an empty generic URI, both flags false.
    KtSipNameAddress();
    /// `displayName` and `uri` (shared). Angle brackets are set when the display name is
    /// not empty; the URI in-bracket flag is true.
    KtSipNameAddress(const char* displayName, const KtHandle<KtURI>& uri);
    /// Shares the display name, copies the flags, clones the URI.
    KtSipNameAddress(const KtSipNameAddress& other);
    ~KtSipNameAddress() override {}
    KtSipNameAddress& operator=(const KtSipNameAddress&) = delete;

    /// A copy through the copy constructor.
    KtSipNameAddress* clone() const override;

    /// Reads a name-address: the display name up to "<" (or nothing for a bare URI), then
    /// the URI through KtURI::sConstructFrom with the URI in-bracket flag. Throws
    /// KtSipParseError "Invalid SIP Name Address", "Invalid quote in KtSipNameAddress" or
    /// "URL not specified", or the URI parser's errors.
    void parse(KtInputStream& in);
    /// Parses a NUL-terminated text.
    void parse(const char* text);
    /// Writes [display name " "] "<" uri ">".
    void serialize(KtOutputStream& out) const;
    /// The text serialize writes.
    KtString getString() const;

    /// The display name as written, trimmed; empty when there is none.
    const KtString& getDisplayName() const { return m_DisplayName; }
    /// Replaces the display name (written as given: quote it yourself when needed).
    void setDisplayName(const char* displayName) { m_DisplayName = KtString(displayName); }
    /// The URI (never nil in a constructed object).
    const KtHandle<KtURI>& getURI() const { return m_URI.get(); }
    /// Replaces the URI (shared, not copied). A nil handle is replaced by an empty URI.
    void setURI(const KtHandle<KtURI>& uri);
    /// The URI as a SIP URL; an empty handle (and an assertion report) when it is not one.
    KtHandle<KtSipURL> getURL() const;
    /// True when the parsed text had "<" (or a display name was given at construction).
    bool getAngleBrackets() const { return m_AngleBrackets; }
    /// Sets the angle-bracket flag.
    void setAngleBrackets(bool angleBrackets) { m_AngleBrackets = angleBrackets; }
    /// The in-bracket argument handed to the URI parser.
    bool getURIInBracket() const { return m_URIInBracket; }
    /// Sets the in-bracket argument for the next parse.
    void setURIInBracket(bool inBracket) { m_URIInBracket = inBracket; }

private:
    static KtURI* sNewPlaceholder();

    KtString m_DisplayName;
    // Without a URI of its own a name-address holds an empty generic URI, made only when
    // asked for: a parsed name-address gets its URI from the text and never needs one.
    KtLazyHandle<KtURI, &KtSipNameAddress::sNewPlaceholder> m_URI;
    bool m_AngleBrackets;
    bool m_URIInBracket;
};

/// Writes nothing for an empty handle; otherwise [display name " "] "<" uri ">".
KtOutputStream& operator<<(KtOutputStream& out, const KtHandle<KtSipNameAddress>& nameAddress);
/// Parses a name-address from `in`; an empty handle first receives a new default object.
KtInputStream& operator>>(KtInputStream& in, KtHandle<KtSipNameAddress>& nameAddress);

#endif
