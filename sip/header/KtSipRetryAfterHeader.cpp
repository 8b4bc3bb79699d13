// The Retry-After header.
#include "KtSipRetryAfterHeader.h"

#include <cstring>

#include "KtSipLexer.h"
#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRetryAfterHeader")

KT_SIP_HEADER_REGISTER(KtSipRetryAfterHeader, "Retry-After")

const char KtSipRetryAfterHeader::sDuration[] = "duration";

namespace {
const char kInvalid[] = "Invalid Retry-After header";

constexpr KtDelimiterSet kDateStops(";(\r\n");
constexpr KtDelimiterSet kNameStops("=;,\r\n");
}  // namespace

void KtSipRetryAfterHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRetryAfterHeader::doParse");
    m_Comment.clear();
    clearDuration();
    KtSipLexer::sSkipBlanks(in);
    int c = in.peek();
    if (KtSipLexer::sIsDigit(c)) {
        // Seconds form: only the number is read; a comment or duration after it is left to
        // the header line reader, which skips it.
        unsigned seconds = 0;
        if (!KtStreamTokenizer::sGetUnsigned(in, seconds)) KtSipParseError::sThrow(kInvalid);
        setSeconds(seconds);
        return;
    }

    char text[MAX_TEXT + 1];
    int length = KtSipLexer::sReadBounded(in, kDateStops, text, sizeof text);
    if (length <= 0 || KtSipLexer::sTrimBlanksEnd(text, static_cast<unsigned>(length)) == 0)
        KtSipParseError::sThrow(kInvalid);
    setDateText(text, "Invalid Date in Retry-After header");

    KtSipLexer::sSkipBlanks(in);
    if (in.peek() == '(') {
        in.read();
        length = KtSipLexer::sReadBounded(in, KtSipLexer::sCommentEnd(), text, sizeof text);
        // A comment longer than MAX_TEXT is refused like an unterminated one.
        if (length < 0 || in.peek() != ')') KtSipParseError::sThrow("Missing ')' for comment");
        in.read();
        if (KtSipLexer::sTrimBlanksEnd(text, static_cast<unsigned>(length)) > 0) m_Comment = KtString(text);
        KtSipLexer::sSkipBlanks(in);
    }
    if (in.peek() == ';') {
        in.read();
        char name[32];
        // Only the first eight characters of the name are compared with "duration".
        int nameLength = KtSipLexer::sReadBounded(in, kNameStops, name, sizeof name);
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
    if (m_Duration) out << "; duration=" << *m_Duration;
}
