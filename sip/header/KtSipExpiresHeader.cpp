// The Expires header.
#include "KtSipExpiresHeader.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipExpiresHeader")

KT_SIP_HEADER_REGISTER(KtSipExpiresHeader, "Expires")

namespace {
const char kInvalidExpires[] = "Invalid Expires header";
const char kEndOfFile[] = "un-expecting end of file when parsing KtSipExpiresHeader";

const KtDelimiterSet& lineEnd() {
    static const KtDelimiterSet sSet("\r\n");
    return sSet;
}
}  // namespace

void KtSipExpiresHeader::parseDate(KtInputStream& in) {
    KtString text;
    text.mutableBuffer()->parse(in, lineEnd());
    text.trim();
    if (text.empty()) KtSipParseError::sThrow(kInvalidExpires);
    setDateText(text.c_str(), kInvalidExpires);
}

void KtSipExpiresHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipExpiresHeader::doParse");
    KtStreamTokenizer::sDiscardWhite(in);
    int c = in.peek();
    if (c < '0' || c > '9') {
        parseDate(in);
        return;
    }
    in.mark(DELTA_BUFFER_SIZE);
    char buffer[DELTA_BUFFER_SIZE];
    unsigned length = 0;
    for (;;) {
        if (length == DELTA_BUFFER_SIZE) KtSipParseError::sThrow(kEndOfFile);
        c = in.peek();
        if (c < 0) KtSipParseError::sThrow(kEndOfFile);
        if (c == ' ' || c == '\r' || c == '\n') break;
        buffer[length++] = static_cast<char>(c);
        in.read();
    }
    buffer[length] = '\0';  // length < DELTA_BUFFER_SIZE here
    KtStreamTokenizer::sDiscardWhite(in);
    c = in.peek();
    if (c == '\r' || c == '\n' || c < 0) {
        // Delta seconds. Values beyond the signed 32-bit range are capped (RFC 3261 20.19
        // treats over-large values as the largest one).
        errno = 0;
        long value = std::strtol(buffer, nullptr, 10);
        if (errno == ERANGE || value > INT_MAX) value = INT_MAX;
        setSecondsValue(value);
        return;
    }
    // Digits followed by more words: the whole value is read again as a date.
    in.reset();
    parseDate(in);
}

void KtSipExpiresHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipExpiresHeader::doSerialize");
    writeValue(out);
}
