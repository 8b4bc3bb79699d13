// The name-address-with-parameters shape: From, To, Contact, Referred-By, CC-Diversion.
#ifndef KTSIP_KT_SIP_NAME_ADDR_PARAMS_HEADER_H
#define KTSIP_KT_SIP_NAME_ADDR_PARAMS_HEADER_H

#include "KtParameters.h"
#include "KtSipNameAddrHeader.h"
#include "KtSipURL.h"

/// A header holding a name-address followed by header parameters
/// (`"Bob" <sip:bob@host>;tag=1;expires=60`). The parameter list is never nil; a new one
/// is empty with the separator ";".
class KtSipNameAddrParamsHeader : public KtSipNameAddrHeader {
public:
    ~KtSipNameAddrParamsHeader() override {}

    /// The header parameters (never nil).
    const KtHandle<KtParameters>& getParameters() const { return m_parameters.get(); }
    /// Replaces the parameter list (held, not copied); nil gives an empty list.
    void setParameters(const KtHandle<KtParameters>& parameters);
    /// The value of header parameter `name`; nil when absent or without value.
    KtString getParameter(const char* name) const { return KtParameters::sValueIn(m_parameters.peek(), name); }

    /// Reads the name-address, then the parameters that follow it (see parseParameters).
    void doParse(KtInputStream& in) override;
    /// Writes the name-address, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

protected:
    KtSipNameAddrParamsHeader(const KtString& token, HeaderID id);
    /// Deep copy: name-address and parameter list cloned (empty ones where nil).
    KtSipNameAddrParamsHeader(const KtSipNameAddrParamsHeader& other);

    /// Reads the parameters after the address: one character is looked at; at the end of
    /// the input, CR, LF or tab (any byte of 13 or below as a signed byte) nothing more is
    /// read and that character stays consumed; otherwise a ";" is consumed (any other
    /// character is put back) and the list is read up to a "," or the line end.
    void parseParameters(KtInputStream& in);
    /// Writes ";" and the parameters when the list is not empty.
    void serializeParameters(KtOutputStream& out) const;
    /// Takes clones of `nameAddress` and `parameters` (new empty ones for nil handles).
    void assignClones(const KtHandle<KtSipNameAddress>& nameAddress, const KtHandle<KtParameters>& parameters);
    /// Takes a new name-address with no display name around `url` (held, not copied) and
    /// a clone of `parameters` (a new empty list for nil).
    void assignURL(const KtHandle<KtSipURL>& url, const KtHandle<KtParameters>& parameters);
    /// The address check of From and To: throws KtSipParseError `message` when the
    /// name-address or its URI is missing (an empty generic URI counts as missing); for a
    /// sip: URL that has URI parameters, removes "transport", "maddr" and "ttl" and clears
    /// the URL headers, in place. `fresh`: the URL was just parsed by this header and no
    /// other thread can reach its lists, so they are changed without their mutexes.
    void checkAddress(const char* message, bool fresh = false);

    KtLazyParameters m_parameters;  // made on first use: most headers have no parameters
};

/// The constructors of a class of this shape that builds its value from parts (From, To,
/// Referred-By), besides the default and copy constructors which each class declares:
/// from the header value text; from clones of a name-address and a parameter list (empty
/// ones for nil handles); from a name-address without display name around `url` (held, not
/// copied) and a clone of `parameters`.
#define KT_SIP_ADDRESS_HEADER_CONSTRUCTORS(CLASS)                                        \
public:                                                                                  \
    /** Parses the header value `text` (null reads as empty). */                        \
    explicit CLASS(const char* text);                                                    \
    /** Clones of `nameAddress` and `parameters` (empty ones for nil handles). */       \
    CLASS(const KtHandle<KtSipNameAddress>& nameAddress, const KtHandle<KtParameters>& parameters); \
    /** A name-address around `url` (held) and a clone of `parameters`. */              \
    CLASS(const KtHandle<KtSipURL>& url, const KtHandle<KtParameters>& parameters);      \
    static const KtString sToken;

/// Defines, in the class's source file, the three constructors of
/// KT_SIP_ADDRESS_HEADER_CONSTRUCTORS. Their trace scopes are named by the class, SCOPE
/// (" ctor (" or " ctor(", as each class has always logged them) and the number 1, 2 or 3
/// with ")"; each ends with the statement CHECK.
#define KT_SIP_ADDRESS_HEADER_DEFINE(CLASS, SCOPE, CHECK)                                \
    CLASS::CLASS(const char* text) {                                                     \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS SCOPE "1)");                            \
        parseText(text);                                                                 \
        CHECK;                                                                           \
    }                                                                                    \
    CLASS::CLASS(const KtHandle<KtSipNameAddress>& nameAddress, const KtHandle<KtParameters>& parameters) { \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS SCOPE "2)");                            \
        assignClones(nameAddress, parameters);                                           \
        CHECK;                                                                           \
    }                                                                                    \
    CLASS::CLASS(const KtHandle<KtSipURL>& url, const KtHandle<KtParameters>& parameters) { \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS SCOPE "3)");                            \
        assignURL(url, parameters);                                                      \
        CHECK;                                                                           \
    }

/// The members of From and To, which check their address: those of
/// KT_SIP_ADDRESS_HEADER_CONSTRUCTORS, the empty header (no check), the checked deep copy
/// (next is nil), the checked parse, checkValidity and the "tag" parameter.
#define KT_SIP_PARTY_HEADER_MEMBERS(CLASS)                                                  \
    KT_SIP_ADDRESS_HEADER_CONSTRUCTORS(CLASS)                                               \
    /** An empty name-address and an empty parameter list (no check). */                   \
    CLASS() = default;                                                                      \
    /** Deep copy (next is nil), checked. */                                                \
    CLASS(const CLASS& other);                                                              \
    /** Reads the name-address and parameters, then checks them. */                         \
    void doParse(KtInputStream& in) override;                                               \
    /** The address check (see checkAddress) with the class's error text. */                \
    void checkValidity();                                                                   \
    /** The "tag" parameter; nil when absent. */                                            \
    KtString getTag() const { return KtParameters::sValueIn(m_parameters.peek(), KtSipHeader::sTagToken); } \
    /** Sets the "tag" parameter. */                                                        \
    void setTag(const char* tag) { m_parameters->setValue(KtSipHeader::sTagToken, tag); }

/// Defines, in the class's source file, the members of KT_SIP_PARTY_HEADER_MEMBERS: the
/// constructors of KT_SIP_ADDRESS_HEADER_DEFINE (with SCOPE) and the copy constructor end
/// with checkValidity, which throws KtSipParseError ERROR for a missing address.
#define KT_SIP_PARTY_HEADER_DEFINE(CLASS, SCOPE, ERROR)                                     \
    KT_SIP_ADDRESS_HEADER_DEFINE(CLASS, SCOPE, checkValidity())                            \
    CLASS::CLASS(const CLASS& other) : KtSipCompactHeaderImpl(other) {                       \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS " copy ctor");                             \
        checkValidity();                                                                    \
    }                                                                                       \
    void CLASS::doParse(KtInputStream& in) {                                                \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS "::doParse");                              \
        KtSipNameAddrParamsHeader::doParse(in);                                             \
        checkAddress((ERROR), true); /* the URL was just parsed: no other thread has it */  \
    }                                                                                       \
    void CLASS::checkValidity() {                                                           \
        TORVANE_TRACE_SCOPE(fileLogger(), #CLASS "::checkValidity");                        \
        checkAddress(ERROR);                                                                \
    }

#endif
