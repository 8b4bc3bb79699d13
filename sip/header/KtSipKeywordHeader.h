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

#endif
