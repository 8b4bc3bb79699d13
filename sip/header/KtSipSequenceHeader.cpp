// The sequence-numbers-and-method header shape.
#include "KtSipSequenceHeader.h"

#include "KtSipLexer.h"
#include "KtStreamTokenizer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSequenceHeader")

void KtSipSequenceHeader::doParse(KtInputStream& in) {
    const KtSipSequenceSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.parseScope);
    unsigned numbers[MAX_NUMBERS] = {0, 0};
    for (unsigned i = 0; i < syntax.numbers; ++i)
        if (!KtStreamTokenizer::sGetUnsigned(in, numbers[i])) KtSipParseError::sThrow(syntax.parseError);
    KtString method = KtSipLexer::sCommonWords().parse(in, KtSipLexer::sMethodSeparators(), false);
    if (method.empty()) KtSipParseError::sThrow(syntax.parseError);
    for (unsigned i = 0; i < syntax.numbers; ++i) m_Numbers[i] = numbers[i];
    m_Method = KtConstString(std::move(method));
}

void KtSipSequenceHeader::doSerialize(KtOutputStream& out) const {
    const KtSipSequenceSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.serializeScope);
    for (unsigned i = 0; i < syntax.numbers; ++i) out << m_Numbers[i] << ' ';
    out << m_Method;
}
