// The Expires header.
#include "KtSipExpiresHeader.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "KtScannerBuffer.h"
#include "KtSipLexer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipExpiresHeader")

KT_SIP_HEADER_REGISTER(KtSipExpiresHeader, "Expires")

namespace {
const char kInvalidExpires[] = "Invalid Expires header";
const char kEndOfFile[] = "un-expecting end of file when parsing KtSipExpiresHeader";

// A delta ends at a space or the line end (a tab does not end it).
constexpr KtDelimiterSet kDeltaStops(" \r\n");
}  // namespace

void KtSipExpiresHeader::parseDate(KtInputStream& in) {
    const KtString text = KtStringTable::sParseWord(in, KtSipLexer::sLineEnd(), true);
    if (text.empty()) KtSipParseError::sThrow(kInvalidExpires);
    setDateText(text.c_str(), kInvalidExpires);
}

void KtSipExpiresHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipExpiresHeader::doParse");
    KtSipLexer::sSkipBlanks(in);
    if (!KtSipLexer::sIsDigit(in.peek())) {
        parseDate(in);
        return;
    }
    in.mark(DELTA_BUFFER_SIZE);
    // The delta and its NUL fit in DELTA_BUFFER_SIZE bytes; a longer one, or one the input
    // ends in, is refused.
    KtScannerBuffer gathered(nullptr, DELTA_BUFFER_SIZE - 1);
    const char* begin;
    const char* end;
    if (!KtSipLexer::sTakeUntil(in, kDeltaStops, gathered, begin, end)) KtSipParseError::sThrow(kEndOfFile);
    char delta[DELTA_BUFFER_SIZE];
    const unsigned length = static_cast<unsigned>(end - begin);
    std::memcpy(delta, begin, length);
    delta[length] = '\0';
    if (in.peek() < 0) KtSipParseError::sThrow(kEndOfFile);
    KtSipLexer::sSkipBlanks(in);
    const int c = in.peek();
    if (c == '\r' || c == '\n' || c < 0) {
        // Delta seconds. Values beyond the signed 32-bit range are capped (RFC 3261 20.19
        // treats over-large values as the largest one).
        errno = 0;
        long value = std::strtol(delta, nullptr, 10);
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
