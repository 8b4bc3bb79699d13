// The fixed-vocabulary header shape.
#include "KtSipKeywordHeader.h"

#include "KtSipLexer.h"

#include <strings.h>

#include "KtSipTokenHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipKeywordHeader")

KtSipKeywordHeader::~KtSipKeywordHeader() {}

const char* KtSipKeywordHeader::getKeyword() const {
    const KtSipKeywordSyntax& syntax = getSyntax();
    if (m_Value < 0 || static_cast<unsigned>(m_Value) >= syntax.count) return "";
    return syntax.words[m_Value];
}

void KtSipKeywordHeader::setKeyword(const char* word) {
    const KtSipKeywordSyntax& syntax = getSyntax();
    if (word) {
        for (unsigned i = 0; i < syntax.count; ++i) {
            if (strcasecmp(word, syntax.words[i]) == 0) {
                m_Value = static_cast<int>(i);
                return;
            }
        }
    }
    KtSipParseError::sThrow(syntax.error);
}

void KtSipKeywordHeader::doParse(KtInputStream& in) {
    const KtSipKeywordSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.parseScope);
    // Every vocabulary word is shorter than MAX_WORD, so a longer token can only be refused.
    char word[MAX_WORD + 1];
    if (KtSipLexer::sReadBounded(in, KtSipLexer::sTokenSeparators(), word, sizeof word) < 0)
        KtSipParseError::sThrow(syntax.error);
    setKeyword(word);
}

void KtSipKeywordHeader::doSerialize(KtOutputStream& out) const {
    const KtSipKeywordSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.serializeScope);
    out << getKeyword();
}
