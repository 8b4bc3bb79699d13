// The Warning header.
#include "KtSipWarningHeader.h"

#include <cstdio>

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipWarningHeader")

KT_SIP_HEADER_REGISTER(KtSipWarningHeader, "Warning")

namespace {
constexpr KtDelimiterSet kWordStops(" \r\n");
}  // namespace

KtSipWarningHeader::KtSipWarningHeader(unsigned code, const char* agent, const char* text) {
    setCode(code);
    setAgent(agent);
    setText(text);
}

void KtSipWarningHeader::setCode(unsigned code) {
    char text[16];
    std::snprintf(text, sizeof text, "%u", code);
    m_Code = KtString(text);
}

void KtSipWarningHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipWarningHeader::doParse");
    KtString code;
    code.mutableBuffer()->parse(in, kWordStops);
    KtString agent;
    agent.mutableBuffer()->parse(in, kWordStops);
    KtString text;
    text.mutableBuffer()->parse(in, KtSipLexer::sLineEnd());
    text.trim();
    // A quoted text loses its first and last character (the quotes).
    if (text.c_str()[0] == '"') {
        unsigned length = text.length();
        text = length >= 2 ? text->substr(1, length - 2) : KtString();
    }
    m_Code = code;
    m_Agent = agent;
    m_Text = text;
}

void KtSipWarningHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipWarningHeader::doSerialize");
    out << m_Code << ' ' << m_Agent << " \"" << m_Text << '"';
}
