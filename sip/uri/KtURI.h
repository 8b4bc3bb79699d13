// The generic URI (scheme plus the text after its colon), the scheme registry and the
// single entry point that reads a URI of any scheme from a stream.
#ifndef KTSIP_KT_URI_H
#define KTSIP_KT_URI_H

#include <map>

#include "KtHandle.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtString.h"
#include "TorvaneMemAllocator.h"

/// A URI of any scheme. The generic form keeps two strings: the scheme (as written, no
/// colon) and everything after the first colon (trimmed). KtSipURL and KtTelURL derive
/// from it and keep their parts in their own fields (their scheme data stays empty).
class KtURI : public KtObject {
    TORVANE_POOLED_OBJECT("KtURI")
public:
    /// Factory of an empty URI of one scheme.
    typedef KtURI* (*Factory)();

    /// An empty generic URI (empty scheme and scheme data, not in brackets).
    KtURI();
    /// Copies the flags (the SIP-URL flag is cleared) and shares both strings.
    KtURI(const KtURI& other);
    ~KtURI() override {}
    KtURI& operator=(const KtURI&) = delete;

    /// A new URI of the same class; the in-bracket flag is copied, the strings shared.
    KtURI* clone() const override;

    /// True when the URI carries parameters (never for a generic URI).
    virtual bool hasParameters() const;
    /// True when the URI carries headers (never for a generic URI).
    virtual bool hasHeaders() const;
    /// The text form of the URI: scheme ":" scheme data for a generic URI.
    virtual KtString getString() const;
    /// Reads the URI from `in`. The generic form accepts an optional "<", reads the scheme
    /// up to ":", then the scheme data up to ">", CR or LF, and consumes an optional ">".
    /// Throws KtException "INVALID URI" when no colon follows the scheme.
    virtual void parse(KtInputStream& in);
    /// Parses a NUL-terminated text through the virtual parse(KtInputStream&).
    void parse(const char* text);
    /// Writes getString() to `out`.
    void serialize(KtOutputStream& out) const;

    /// The scheme as written (no colon); "sip" / "tel" for URLs built by the registry factories.
    const KtString& getScheme() const { return m_Scheme; }
    /// Everything after the colon of a generic URI; empty for SIP and tel URLs.
    const KtString& getSchemeData() const { return m_SchemeData; }
    /// Replaces the scheme.
    void setScheme(const char* scheme) { m_Scheme = KtString(scheme); }
    /// Replaces the scheme data.
    void setSchemeData(const char* data) { m_SchemeData = KtString(data); }
    /// True only for objects built by the KtSipURL constructors.
    bool isSipURL() const { return m_IsSipURL; }
    /// True when the URI was (or is to be read as) written inside angle brackets.
    bool isInBracket() const { return m_InBracket; }
    /// Sets the in-bracket flag.
    void setInBracket(bool inBracket) { m_InBracket = inBracket; }

    /// Reads one URI of any scheme from `in`. The first three letters (spaces and a "<"
    /// skipped, case ignored) choose the class: "sip" a KtSipURL, "tel" a KtTelURL, anything
    /// else a generic KtURI. `inBracket` is handed to SIP and tel URLs (it decides whether
    /// ";" parameters belong to the URL); a generic URI always gets false. Parse errors
    /// of the chosen class pass to the caller.
    static KtHandle<KtURI> sConstructFrom(KtInputStream& in, bool inBracket);
    /// A new empty URI for `scheme` from the scheme registry (case-insensitive), or a
    /// generic URI whose scheme is `scheme` when none is registered. The caller owns it.
    static KtURI* sConstruct(const char* scheme);
    /// Registers `factory` for `scheme`. The first registration of a scheme (compared
    /// without case) wins; later ones are ignored.
    static void sAddConstructor(const char* scheme, Factory factory);

    /// Frees the scheme registry (run at process exit; registrations made later start a new one).
    static void sDeleteConstructorMap();

    /// Ordering of the scheme registry: case-insensitive "less than" of the two strings.
    struct compare {
        bool operator()(const KtString& a, const KtString& b) const;
    };

protected:
    bool m_IsSipURL;
    bool m_InBracket;
    KtString m_SchemeData;
    KtString m_Scheme;

private:
    typedef std::map<KtString, Factory, compare> ConstructorMap;
    static ConstructorMap* sm_pConstructorMap;
};

/// Factory of an empty URI of class T, for the scheme registry.
template <class T>
class KtURIConstructor {
public:
    /// A new default-constructed T.
    static KtURI* Constructor() { return new T(); }
};

#endif
