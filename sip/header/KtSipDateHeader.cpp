// The Date header.
#include "KtSipDateHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipDateHeader")

KT_SIP_HEADER_REGISTER(KtSipDateHeader, "Date")

namespace {
constexpr KtDelimiterSet kDateStops("\r\n,");
}  // namespace

void KtSipDateHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDateHeader::doParse");
    // The date holds one comma, after the weekday: read up to it, keep it, and read the
    // rest up to the next comma or the line end. Text longer than MAX_TEXT is no date.
    char text[MAX_TEXT + 1];
    int length = KtSipLexer::sReadBounded(in, kDateStops, text, sizeof text);
    if (length < 0) KtSipParseError::sThrow("Invalid Date header");
    unsigned used = static_cast<unsigned>(length);
    if (in.peek() == ',') {
        in.read();
        if (used + 2 >= sizeof text) KtSipParseError::sThrow("Invalid Date header");
        text[used++] = ',';
        text[used++] = ' ';
        int rest = KtSipLexer::sReadBounded(in, kDateStops, text + used, sizeof text - used);
        if (rest < 0) KtSipParseError::sThrow("Invalid Date header");
        used += static_cast<unsigned>(rest);
    }
    if (KtSipLexer::sTrimBlanksEnd(text, used) == 0) KtSipParseError::sThrow("Invalid Date header");
    KtDate date;
    try {
        date.constructKtDate(text);
    } catch (const KtException&) {
        // A value that is text but no date is reported as a plain KtException.
        KtException::sThrow("Invalid Date in KtSipDateHeader");
    }
    m_Date = date;
}

void KtSipDateHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDateHeader::doSerialize");
    char text[KtDate::TEXT_LENGTH + 1];
    m_Date.getKtDate(text);
    out << text;
}
