// The shape shared by the headers whose value is one or two sequence numbers and a method
// (CSeq, RAck).
#ifndef KTSIP_KT_SIP_SEQUENCE_HEADER_H
#define KTSIP_KT_SIP_SEQUENCE_HEADER_H

#include "KtSipSyntaxHeader.h"

/// What differs between the sequence headers besides the class's scopes: how many numbers
/// come before the method and the error for a malformed value.
struct KtSipSequenceSyntax : KtSipHeaderScopes {
    unsigned numbers;
    const char* parseError;
};

/// A header holding up to MAX_NUMBERS unsigned 32-bit numbers followed by a method token.
/// The method is kept as written (case included).
class KtSipSequenceHeader : public KtSipSyntaxHeader<KtSipSequenceSyntax> {
public:
    /// Most numbers a sequence header holds.
    static const unsigned MAX_NUMBERS = 2;

    ~KtSipSequenceHeader() override {}

    /// The method as written.
    const KtConstString& getMethod() const { return m_Method; }
    /// Replaces the method (null gives an empty method).
    void setMethod(const char* method) { m_Method.assign(method); }

    /// Reads the class's numbers (blanks before each skipped), then the method up to the
    /// method separators. A missing or non-numeric number, one above 4294967295, or an empty
    /// method throws KtSipParseError with the class's text and leaves the header unchanged.
    void doParse(KtInputStream& in) override;
    /// Writes the numbers and the method separated by single spaces.
    void doSerialize(KtOutputStream& out) const override;

protected:
    using KtSipSyntaxHeader::KtSipSyntaxHeader;

    unsigned m_Numbers[MAX_NUMBERS] = {0, 0};
    KtConstString m_Method;
};

/// The members every sequence-header class declares the same way: the default constructor
/// (numbers 0, empty method; the registry factory), the copy constructor (clone), the static
/// name and the syntax hook (defined in the class's source file).
#define KT_SIP_SEQUENCE_HEADER_MEMBERS(CLASS)                               \
public:                                                                     \
    /** Numbers 0, empty method. */                                         \
    CLASS() = default;                                                      \
    CLASS(const CLASS& other) = default;                                    \
    static const KtString sToken;                                           \
                                                                            \
protected:                                                                  \
    const KtSipSequenceSyntax& getSyntax() const override;                  \
                                                                            \
public:

/// Defines CLASS::getSyntax in the class's source file (after its TORVANE_FILE_LOGGER): the
/// value holds NUMBERS numbers before the method; a malformed one throws KtSipParseError
/// PARSE_ERROR.
#define KT_SIP_SEQUENCE_HEADER_SYNTAX(CLASS, NUMBERS, PARSE_ERROR)                                  \
    static_assert((NUMBERS) >= 1 && (NUMBERS) <= KtSipSequenceHeader::MAX_NUMBERS, "numbers");      \
    const KtSipSequenceSyntax& CLASS::getSyntax() const {                                           \
        static const KtSipSequenceSyntax sSyntax{KT_SIP_HEADER_SCOPES(CLASS), (NUMBERS), (PARSE_ERROR)}; \
        return sSyntax;                                                                             \
    }

#endif
