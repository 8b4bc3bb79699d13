// The Retry-After header.
#include "KtSipRetryAfterHeader.h"

#include <cstring>

#include "KtSipTokenHeader.h"
#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRetryAfterHeader")

KT_SIP_HEADER_REGISTER(KtSipRetryAfterHeader, "Retry-After")

const char KtSipRetryAfterHeader::sDuration[] = "duration";

namespace {
const char kInvalid[] = "Invalid Retry-After header";

const KtDelimiterSet& dateStops() {
    static const KtDelimiterSet sSet(";(\r\n");
    return sSet;
}
const KtDelimiterSet& commentStops() {
    static const KtDelimiterSet sSet(")\r\n");
    return sSet;
}
const KtDelimiterSet& nameStops() {
    static const KtDelimiterSet sSet("=;,\r\n");
    return sSet;
}

unsigned trimEnd(char* text, unsigned length) {
    while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '\t')) --length;
    text[length] = '\0';
    return length;
}
}  // namespace

void KtSipRetryAfterHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRetryAfterHeader::doParse");
    m_Comment.clear();
    clearDuration();
    KtStreamTokenizer::sDiscardWhite(in);
    int c = in.peek();
    if (c >= '0' && c <= '9') {
        // Seconds form: only the number is read; a comment or duration after it is left to
        // the header line reader, which skips it.
        unsigned seconds = 0;
        if (!KtStreamTokenizer::sGetUnsigned(in, seconds)) KtSipParseError::sThrow(kInvalid);
        setSeconds(seconds);
        return;
    }

    char text[MAX_TEXT + 1];
    int length = KtSipTokenHeader::sReadBounded(in, dateStops(), text, sizeof text);
    if (length <= 0 || trimEnd(text, static_cast<unsigned>(length)) == 0) KtSipParseError::sThrow(kInvalid);
    setDateText(text, "Invalid Date in Retry-After header");

    KtStreamTokenizer::sDiscardWhite(in);
    if (in.peek() == '(') {
        in.read();
        length = KtSipTokenHeader::sReadBounded(in, commentStops(), text, sizeof text);
        // A comment longer than MAX_TEXT is refused like an unterminated one.
        if (length < 0 || in.peek() != ')') KtSipParseError::sThrow("Missing ')' for comment");
        in.read();
        if (trimEnd(text, static_cast<unsigned>(length)) > 0) m_Comment = KtString(text);
        KtStreamTokenizer::sDiscardWhite(in);
    }
    if (in.peek() == ';') {
        in.read();
        char name[32];
        // Only the first eight characters of the name are compared with "duration".
        int nameLength = KtSipTokenHeader::sReadBounded(in, nameStops(), name, sizeof name);
        if (nameLength >= 8 && std::strncmp(name, sDuration, 8) == 0 && in.peek() == '=') {
            in.read();
            unsigned duration = 0;
            if (!KtStreamTokenizer::sGetUnsigned(in, duration)) KtSipParseError::sThrow(kInvalid);
            setDuration(duration);
        }
    }
}

void KtSipRetryAfterHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRetryAfterHeader::doSerialize");
    writeValue(out);
    if (!m_Comment.empty()) out << " (" << m_Comment << ')';
    if (m_HasDuration) out << "; duration=" << m_Duration;
}
