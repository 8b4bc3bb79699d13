// The Timestamp header.
#include "KtSipTimestampHeader.h"

#include "KtSipLexer.h"

#include "KtSipTokenHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipTimestampHeader")

KT_SIP_HEADER_REGISTER(KtSipTimestampHeader, "Timestamp")

KtSipTimestampHeader::KtSipTimestampHeader(const char* timestamp, const char* delay) {
    setTimestamp(timestamp);
    setDelay(delay);
}

void KtSipTimestampHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipTimestampHeader::doParse");
    KtString timestamp;
    timestamp.mutableBuffer()->parse(in, KtSipLexer::sMethodSeparators());
    if (timestamp.empty()) KtSipParseError::sThrow("Invalid Timestamp header, blank timestamp");
    KtString delay;
    delay.mutableBuffer()->parse(in, KtSipLexer::sMethodSeparators());
    m_Timestamp = timestamp;
    m_Delay = delay.empty() ? KtString() : delay;
}

void KtSipTimestampHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipTimestampHeader::doSerialize");
    // Writing an empty timestamp is a misuse of the object, hence a plain KtException.
    if (m_Timestamp.empty()) KtException::sThrow("Can't serialize Timestamp header, empty timestamp");
    out << m_Timestamp;
    if (!m_Delay.empty()) out << ' ' << m_Delay;
}
