// The Accept-Language header.
#include "KtSipAcceptLanguageHeader.h"

#include "KtSipLexer.h"

#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAcceptLanguageHeader")

KT_SIP_HEADER_REGISTER(KtSipAcceptLanguageHeader, "Accept-Language")

// The language may be empty (an empty Accept-Language line is valid, RFC 3261 20.3).
KT_SIP_TOKEN_HEADER_SYNTAX(KtSipAcceptLanguageHeader,
                           KtSipLexer::sTokenSeparators(), true, nullptr, false)

void KtSipAcceptLanguageHeader::doParse(KtInputStream& in) {
    KtSipTokenHeader::doParse(in);
    m_Weight.clear();
    KtStreamTokenizer::sDiscardWhite(in);
    if (in.peek() != ';') return;
    in.read();
    // The one parameter after ";" is the weight, whatever its name ("q" in practice).
    static const KtDelimiterSet sNameStops("=;,\r\n");
    KtString name;
    name.mutableBuffer()->parse(in, sNameStops);
    name.trim();
    if (m_Value.empty() || name.empty() || in.peek() != '=') KtSipParseError::sThrow("Invalid AcceptLanguage header");
    in.read();
    KtString weight;
    weight.mutableBuffer()->parse(in, KtSipLexer::sTokenSeparators());
    weight.trim();
    if (weight.empty()) KtSipParseError::sThrow("Invalid AcceptLanguage header");
    m_Weight = weight;
}

void KtSipAcceptLanguageHeader::doSerialize(KtOutputStream& out) const {
    KtSipTokenHeader::doSerialize(out);
    if (!m_Weight.empty()) out << "; q=" << m_Weight;
}
