// The sequence-numbers-and-method header shape.
#include "KtSipSequenceHeader.h"

#include "KtSipLexer.h"
#include "KtStreamTokenizer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSequenceHeader")

void KtSipSequenceHeader::doParse(KtInputStream& in) {
    const KtSipSequenceSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.parseScope);
    // Two numbers at the most (MAX_NUMBERS): the second is read only where the class has one.
    unsigned first = 0;
    unsigned second = 0;
    if (!KtStreamTokenizer::sGetUnsigned(in, first) ||
        (syntax.numbers > 1 && !KtStreamTokenizer::sGetUnsigned(in, second)))
        KtSipParseError::sThrow(syntax.parseError);
    KtString method = KtSipLexer::sCommonWords().parse(in, KtSipLexer::sMethodSeparators(), false);
    if (method.empty()) KtSipParseError::sThrow(syntax.parseError);
    m_Numbers[0] = first;
    m_Numbers[1] = second;
    m_Method = KtConstString(std::move(method));
}

void KtSipSequenceHeader::doSerialize(KtOutputStream& out) const {
    const KtSipSequenceSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.serializeScope);
    for (unsigned i = 0; i < syntax.numbers; ++i) out << m_Numbers[i] << ' ';
    out << m_Method;
}
