// The shape shared by the headers whose value is one word of a fixed vocabulary
// (Priority, Session).
#ifndef KTSIP_KT_SIP_KEYWORD_HEADER_H
#define KTSIP_KT_SIP_KEYWORD_HEADER_H

#include "KtSipSyntaxHeader.h"

/// The vocabulary of a keyword header: besides the class's scopes, its words in the order
/// of their numbers (each written as given, matched ignoring case) and the KtSipParseError
/// text for any other word.
struct KtSipKeywordSyntax : KtSipHeaderScopes {
    const char* const* words;
    unsigned count;
    const char* error;
};

/// A header holding one word of its class's vocabulary, stored as the word's number.
class KtSipKeywordHeader : public KtSipSyntaxHeader<KtSipKeywordSyntax> {
public:
    /// Longest word read; longer words are refused (every vocabulary word is shorter).
    static const unsigned MAX_WORD = 15;

    ~KtSipKeywordHeader() override;

    /// The number of the word (0 after default construction).
    int getValue() const { return m_Value; }
    /// The word, as the vocabulary writes it.
    const char* getKeyword() const;
    /// Sets the word, matched ignoring case; throws KtSipParseError with the class's text
    /// for a word outside the vocabulary or null.
    void setKeyword(const char* word);

    /// Reads one token and sets it as the word.
    void doParse(KtInputStream& in) override;
    /// Writes the word.
    void doSerialize(KtOutputStream& out) const override;

protected:
    using KtSipSyntaxHeader::KtSipSyntaxHeader;

    int m_Value = 0;
};

/// The members every keyword-header class declares (see KT_SIP_SHAPE_MEMBERS): the empty
/// header holds the vocabulary's first word; the one from a word throws as setKeyword.
#define KT_SIP_KEYWORD_HEADER_MEMBERS(CLASS) KT_SIP_SHAPE_MEMBERS(CLASS, const char*, setKeyword, KtSipKeywordSyntax)

/// The accessors under the class's own name: setNAME (as setKeyword) and getNAME (as
/// getKeyword).
#define KT_SIP_KEYWORD_ACCESSORS(NAME)                                                          \
    /** Sets the word (see setKeyword). */                                                      \
    void set##NAME(const char* word) { setKeyword(word); }                                      \
    /** The word, as the vocabulary writes it. */                                               \
    const char* get##NAME() const { return getKeyword(); }

/// Defines CLASS::getSyntax in the class's source file (after its TORVANE_FILE_LOGGER): any
/// word but the listed ones (numbered in order from 0) throws KtSipParseError ERROR.
#define KT_SIP_KEYWORD_HEADER_SYNTAX(CLASS, ERROR, ...)                                          \
    const KtSipKeywordSyntax& CLASS::getSyntax() const {                                         \
        static const char* const sWords[] = {__VA_ARGS__};                                       \
        static const KtSipKeywordSyntax sSyntax{KT_SIP_HEADER_SCOPES(CLASS), sWords,                \
                                                static_cast<unsigned>(sizeof sWords / sizeof *sWords), (ERROR)}; \
        return sSyntax;                                                                          \
    }

#endif
