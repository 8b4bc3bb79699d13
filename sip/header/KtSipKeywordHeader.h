// The shape shared by the headers whose value is one word of a fixed vocabulary
// (Priority, Session).
#ifndef KTSIP_KT_SIP_KEYWORD_HEADER_H
#define KTSIP_KT_SIP_KEYWORD_HEADER_H

#include "KtSipHeader.h"

/// The vocabulary of a keyword header: its words in the order of their numbers (each
/// written as given, matched ignoring case), the KtSipParseError text for any other word,
/// the class's logger and the names of its trace scopes.
struct KtSipKeywordSyntax {
    const char* const* words;
    unsigned count;
    const char* error;
    const Torvane::Logger& logger;
    const char* parseScope;
    const char* serializeScope;
};

/// A header holding one word of its class's vocabulary, stored as the word's number.
class KtSipKeywordHeader : public KtSipHeader {
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
    KtSipKeywordHeader(const KtString& token, HeaderID id) : KtSipHeader(token, id), m_Value(0) {}
    KtSipKeywordHeader(const KtSipKeywordHeader& other) = default;

    /// The class's vocabulary.
    virtual const KtSipKeywordSyntax& getSyntax() const = 0;

    int m_Value;
};

/// The members every keyword-header class declares the same way: the default constructor
/// (the vocabulary's first word), the constructor from a word (throws as setKeyword), the
/// copy constructor (clone), the static name and the vocabulary hook.
#define KT_SIP_KEYWORD_HEADER_MEMBERS(CLASS)                                \
public:                                                                     \
    /** The vocabulary's first word. */                                     \
    CLASS() = default;                                                      \
    /** The word `word` (throws as setKeyword). */                          \
    explicit CLASS(const char* word) { setKeyword(word); }                  \
    CLASS(const CLASS& other) = default;                                    \
    static const KtString sToken;                                           \
                                                                            \
protected:                                                                  \
    const KtSipKeywordSyntax& getSyntax() const override;                   \
                                                                            \
public:

/// Defines CLASS::getSyntax in the class's source file (after its TORVANE_FILE_LOGGER): any
/// word but the listed ones (numbered in order from 0) throws KtSipParseError ERROR.
#define KT_SIP_KEYWORD_HEADER_SYNTAX(CLASS, ERROR, ...)                                          \
    const KtSipKeywordSyntax& CLASS::getSyntax() const {                                         \
        static const char* const sWords[] = {__VA_ARGS__};                                       \
        static const KtSipKeywordSyntax sSyntax{sWords, static_cast<unsigned>(sizeof sWords / sizeof *sWords), \
                                                (ERROR), fileLogger(), #CLASS "::doParse",       \
                                                #CLASS "::doSerialize"};                         \
        return sSyntax;                                                                          \
    }

#endif
