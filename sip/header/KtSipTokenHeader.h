// The shape shared by the headers whose value is one token or one piece of text
// (Allow, Require, Supported, Call-ID, Subject, ...).
#ifndef KTSIP_KT_SIP_TOKEN_HEADER_H
#define KTSIP_KT_SIP_TOKEN_HEADER_H

#include "KtParameters.h"
#include "KtSipHeader.h"
#include "KtSipHeaderScopes.h"

class KtStringTable;

/// How one token header reads its value: the bytes at which the value ends, whether
/// it is trimmed, the error for an empty value, and whether a ";" list of parameters
/// may follow. Each class keeps one instance as a function-local static.
struct KtSipTokenSyntax {
    /// The value ends before the first of these bytes (which stays in the stream).
    const KtDelimiterSet& stops;
    /// True when white space around the value is removed.
    bool trim;
    /// KtSipParseError text for an empty value; null when an empty value is accepted.
    const char* emptyError;
    /// True when a ";" after the value introduces a parameter list (Event, Accept-Encoding).
    bool parameters;
    /// The concrete class's logger and the names of its trace scopes.
    const Torvane::Logger& logger;
    const char* parseScope;
    const char* serializeScope;
};

/// A header holding one token or text value, with an optional parameter list.
/// The concrete classes give their KtSipTokenSyntax; parsing and writing live here.
class KtSipTokenHeader : public KtSipHeader {
public:
    ~KtSipTokenHeader() override {}

    /// The value ("" when empty).
    const KtString& getValue() const { return m_Value.str(); }
    /// Replaces the value (null gives the empty value).
    void setValue(const char* value) { m_Value.assign(value); }
    /// The parameters that followed the value; nil when there were none (only classes
    /// whose syntax allows parameters ever have a list).
    const KtHandle<KtParameters>& getParameters() const { return m_Parameters; }
    /// Sets (or, for a null value, adds as a bare name) one parameter, creating the list.
    void setParameter(const char* name, const char* value);

    /// Reads the value as the class's syntax says; throws KtSipParseError with the class's
    /// text when the value is empty and must not be.
    void doParse(KtInputStream& in) override;
    /// Writes the value, then ";" and the parameters when there are any.
    void doSerialize(KtOutputStream& out) const override;

protected:
    KtSipTokenHeader(const KtString& token, HeaderID id) : KtSipHeader(token, id) {}
    /// Copies the value and a copy of the parameter list; next is nil.
    KtSipTokenHeader(const KtSipTokenHeader& other);

    /// The class's reading rules.
    virtual const KtSipTokenSyntax& getSyntax() const = 0;

    KtConstString m_Value;
    KtHandle<KtParameters> m_Parameters;
};

/// The members every token-header class declares (see KT_SIP_SHAPE_MEMBERS).
#define KT_SIP_TOKEN_HEADER_MEMBERS(CLASS) KT_SIP_SHAPE_MEMBERS(CLASS, const char*, setValue, KtSipTokenSyntax)

/// Defines CLASS::getSyntax in the class's source file (after its TORVANE_FILE_LOGGER):
/// the value ends at STOPS (a KtDelimiterSet), is trimmed when TRIM, an empty value throws
/// EMPTY_ERROR unless it is null, and PARAMETERS says whether ";" parameters may follow.
#define KT_SIP_TOKEN_HEADER_SYNTAX(CLASS, STOPS, TRIM, EMPTY_ERROR, PARAMETERS)                    \
    const KtSipTokenSyntax& CLASS::getSyntax() const {                                              \
        static const KtSipTokenSyntax sSyntax{(STOPS), (TRIM), (EMPTY_ERROR), (PARAMETERS), fileLogger(), \
                                              #CLASS "::doParse", #CLASS "::doSerialize"};          \
        return sSyntax;                                                                             \
    }

#endif
