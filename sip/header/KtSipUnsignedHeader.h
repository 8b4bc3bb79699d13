// The shape shared by the headers whose value is one unsigned decimal number
// (Content-Length, Max-Forwards, RSeq, Min-SE, Min-Expires, Session-Expires).
#ifndef KTSIP_KT_SIP_UNSIGNED_HEADER_H
#define KTSIP_KT_SIP_UNSIGNED_HEADER_H

#include "KtSipSyntaxHeader.h"

/// What differs between the number headers besides the class's scopes: the error for a
/// value that is not a number (or does not fit in 32 bits).
struct KtSipUnsignedSyntax : KtSipHeaderScopes {
    const char* parseError;
};

/// A header holding one unsigned 32-bit number, written in decimal. No range check is made
/// beyond the 32 bits (a Max-Forwards of 300 is kept as it is).
class KtSipUnsignedHeader : public KtSipSyntaxHeader<KtSipUnsignedSyntax> {
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
    using KtSipSyntaxHeader::KtSipSyntaxHeader;
    /// Reads the number as doParse does, without a trace scope (for subclasses that read more).
    void parseNumber(KtInputStream& in);

    unsigned m_Value = 0;
};

/// The members every plain number-header class declares (see KT_SIP_SHAPE_MEMBERS): the
/// empty header holds 0.
#define KT_SIP_UNSIGNED_HEADER_MEMBERS(CLASS) KT_SIP_SHAPE_MEMBERS(CLASS, unsigned, setValue, KtSipUnsignedSyntax)

/// Defines CLASS::getSyntax in the class's source file (after its TORVANE_FILE_LOGGER):
/// a value that is not a number throws KtSipParseError PARSE_ERROR.
#define KT_SIP_UNSIGNED_HEADER_SYNTAX(CLASS, PARSE_ERROR)                                           \
    const KtSipUnsignedSyntax& CLASS::getSyntax() const {                                           \
        static const KtSipUnsignedSyntax sSyntax{KT_SIP_HEADER_SCOPES(CLASS), (PARSE_ERROR)};       \
        return sSyntax;                                                                             \
    }

#endif
