// The one-number header shape.
#include "KtSipUnsignedHeader.h"

#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUnsignedHeader")

void KtSipUnsignedHeader::parseNumber(KtInputStream& in) {
    unsigned value = 0;
    if (!KtStreamTokenizer::sGetUnsigned(in, value)) KtSipParseError::sThrow(getSyntax().parseError);
    m_Value = value;
}

void KtSipUnsignedHeader::doParse(KtInputStream& in) {
    const KtSipUnsignedSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.parseScope);
    parseNumber(in);
}

void KtSipUnsignedHeader::doSerialize(KtOutputStream& out) const {
    const KtSipUnsignedSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.serializeScope);
    out << m_Value;
}
