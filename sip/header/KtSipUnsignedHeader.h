// The shape shared by the headers whose value is one unsigned decimal number
// (Content-Length, Max-Forwards, RSeq, Min-SE, Min-Expires, Session-Expires).
#ifndef KTSIP_KT_SIP_UNSIGNED_HEADER_H
#define KTSIP_KT_SIP_UNSIGNED_HEADER_H

#include "KtSipHeader.h"

/// What differs between the number headers: the error for a value that is not a number
/// (or does not fit in 32 bits), the class's logger and the names of its trace scopes.
struct KtSipUnsignedSyntax {
    const char* parseError;
    const Torvane::Logger& logger;
    const char* parseScope;
    const char* serializeScope;
};

/// A header holding one unsigned 32-bit number, written in decimal. No range check is made
/// beyond the 32 bits (a Max-Forwards of 300 is kept as it is).
class KtSipUnsignedHeader : public KtSipHeader {
public:
    ~KtSipUnsignedHeader() override {}

    /// The number.
    unsigned getValue() const { return m_Value; }
    /// Replaces the number.
    void setValue(unsigned value) { m_Value = value; }

    /// Skips blanks and reads the number; anything after it is left in the stream.
    /// Throws KtSipParseError with the class's text when no number follows or it is
    /// above 4294967295.
    void doParse(KtInputStream& in) override;
    /// Writes the number in decimal.
    void doSerialize(KtOutputStream& out) const override;

protected:
    KtSipUnsignedHeader(const KtString& token, HeaderID id) : KtSipHeader(token, id), m_Value(0) {}
    KtSipUnsignedHeader(const KtSipUnsignedHeader& other) = default;

    /// The class's error text, logger and scope names.
    virtual const KtSipUnsignedSyntax& getSyntax() const = 0;
    /// Reads the number as doParse does, without a trace scope (for subclasses that read more).
    void parseNumber(KtInputStream& in);

    unsigned m_Value;
};

/// The members every plain number-header class declares the same way: the default
/// constructor (registry factory), the constructor from a number, the copy constructor
/// (clone), the static name and the syntax hook (defined in the class's source file).
#define KT_SIP_UNSIGNED_HEADER_MEMBERS(CLASS)                               \
public:                                                                     \
    /** A header holding 0. */                                              \
    CLASS() = default;                                                      \
    /** A header holding `value`. */                                        \
    explicit CLASS(unsigned value) { setValue(value); }                     \
    CLASS(const CLASS& other) = default;                                    \
    static const KtString sToken;                                           \
                                                                            \
protected:                                                                  \
    const KtSipUnsignedSyntax& getSyntax() const override;                  \
                                                                            \
public:

/// Defines CLASS::getSyntax in the class's source file (after its TORVANE_FILE_LOGGER):
/// a value that is not a number throws KtSipParseError PARSE_ERROR.
#define KT_SIP_UNSIGNED_HEADER_SYNTAX(CLASS, PARSE_ERROR)                                           \
    const KtSipUnsignedSyntax& CLASS::getSyntax() const {                                           \
        static const KtSipUnsignedSyntax sSyntax{(PARSE_ERROR), fileLogger(), #CLASS "::doParse",    \
                                                 #CLASS "::doSerialize"};                           \
        return sSyntax;                                                                             \
    }

#endif
