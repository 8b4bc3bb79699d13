// The token/text header shape.
#include "KtSipTokenHeader.h"

#include "KtSipLexer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipTokenHeader")

KtSipTokenHeader::KtSipTokenHeader(const KtSipTokenHeader& other)
    : KtSipHeader(other),
      m_Value(other.m_Value),
      m_Parameters(other.m_Parameters.isNil() ? nullptr : other.m_Parameters->clone()) {}

void KtSipTokenHeader::setParameter(const char* name, const char* value) {
    if (m_Parameters.isNil()) m_Parameters = new KtParameters(';');
    m_Parameters->setValue(name, value);
}

void KtSipTokenHeader::doParse(KtInputStream& in) {
    const KtSipTokenSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.parseScope);
    KtString value = KtSipLexer::sCommonWords().parse(in, syntax.stops, syntax.trim);
    if (value.empty()) {
        if (syntax.emptyError) KtSipParseError::sThrow(syntax.emptyError);
        m_Value = KtConstString();
    } else {
        m_Value = KtConstString(std::move(value));
    }
    m_Parameters.clear();
    if (syntax.parameters) {
        KtSipLexer::sSkipBlanks(in);
        if (in.peek() == ';') {
            in.read();
            m_Parameters = new KtParameters(';');
            m_Parameters->parse(in, KtParameters::sOwner);
        }
    }
    TORVANE_DEBUG(syntax.logger, syntax.parseScope << " value=\"" << m_Value.c_str() << '"');
}

void KtSipTokenHeader::doSerialize(KtOutputStream& out) const {
    const KtSipTokenSyntax& syntax = getSyntax();
    TORVANE_TRACE_SCOPE(syntax.logger, syntax.serializeScope);
    out << m_Value;
    if (!m_Parameters.isNil()) m_Parameters->serializeWithLead(out, ';');
}
