// Token, line, quote and number readers.
#include "KtStreamTokenizer.h"

#include <cstring>

#include "KtException.h"

namespace {

// Scans from the current position to the first byte of `delimiters`, copying up to `size - 1`
// bytes into `buffer` and dropping the rest. Returns the stored length, or -1 when the input
// is at its end before anything is read.
int scanToken(KtInputStream& in, const KtDelimiterSet& delimiters, char* buffer, unsigned size) {
    if (buffer == nullptr || size == 0) return -1;
    buffer[0] = '\0';
    if (in.peek() < 0) return -1;
    unsigned stored = 0;
    unsigned room = size - 1;
    for (;;) {
        const char* p = in.current();
        const char* end = in.end();
        const char* start = p;
        p = delimiters.findIn(p, end);
        unsigned n = static_cast<unsigned>(p - start);
        unsigned copy = n < room - stored ? n : room - stored;
        std::memcpy(buffer + stored, start, copy);
        stored += copy;
        in.setCurrent(p);
        if (p < end || !in.fill()) break;
    }
    buffer[stored] = '\0';
    return static_cast<int>(stored);
}

}  // namespace

int KtStreamTokenizer::sGetToken(KtInputStream& in, const KtDelimiterSet& delimiters, char* buffer, unsigned size) {
    return scanToken(in, delimiters, buffer, size);
}

int KtStreamTokenizer::sGetToken(KtInputStream& in, const char* delimiters, char* buffer, unsigned size) {
    KtDelimiterSet set(delimiters);
    return scanToken(in, set, buffer, size);
}

int KtStreamTokenizer::sPeekToken(KtInputStream& in, const KtDelimiterSet& delimiters, char* buffer, unsigned size) {
    // The peek remembers the position itself so that the caller's mark survives. Every stream
    // keeps the bytes of its current window addressable, and a token fits in one window for
    // the in-memory streams this library reads.
    const char* position = in.current();
    int n = scanToken(in, delimiters, buffer, size);
    in.setCurrent(position);
    return n;
}

int KtStreamTokenizer::sPeekToken(KtInputStream& in, const char* delimiters, char* buffer, unsigned size) {
    KtDelimiterSet set(delimiters);
    return sPeekToken(in, set, buffer, size);
}

void KtStreamTokenizer::sDiscardLine(KtInputStream& in) {
    int c;
    while ((c = in.read()) >= 0)
        if (c == '\n') return;
}

int KtStreamTokenizer::sGetLine(KtInputStream& in, char* buffer, unsigned size) {
    if (buffer == nullptr || size == 0) return -1;
    buffer[0] = '\0';
    sDiscardWhite(in);
    if (in.peek() < 0) return -1;
    unsigned stored = 0;
    int c;
    while ((c = in.read()) >= 0 && c != '\n') {
        if (stored < size - 1) buffer[stored++] = static_cast<char>(c);
    }
    if (stored > 0 && buffer[stored - 1] == '\r') --stored;
    buffer[stored] = '\0';
    return static_cast<int>(stored);
}

KtString KtStreamTokenizer::sGetLine(KtInputStream& in) {
    KtString line("");
    KtStringBuffer* b = line.get();
    sDiscardWhite(in);
    // A window at a time up to the LF (consumed, not kept) or the end of the input.
    for (;;) {
        const char* p = in.current();
        const char* end = in.end();
        const char* nl = static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
        b->append(p, static_cast<unsigned>((nl ? nl : end) - p));
        in.setCurrent(nl ? nl + 1 : end);
        if (nl != nullptr || !in.fill()) break;
    }
    if (b->length() > 0 && b->c_str()[b->length() - 1] == '\r') b->releaseBuffer(b->length() - 1);
    return line;
}

KtString KtStreamTokenizer::sGetQuote(KtInputStream& in) {
    if (in.peek() != '"') KtException::sThrow("Quoted string expected");
    in.advance(1);
    KtString text("");
    KtStringBuffer* b = text.get();
    int c;
    while ((c = in.read()) >= 0) {
        if (c == '"') return text;
        b->append(static_cast<char>(c));
        if (c == '\\') {
            int next = in.read();
            if (next < 0) break;
            b->append(static_cast<char>(next));
        }
    }
    KtException::sThrow("Unterminated quoted string");
}

namespace {
// sGetUnsigned across window ends and refills. Out of line, so that the usual reading stays a
// leaf function with few registers to save.
__attribute__((noinline)) bool readUnsigned(KtInputStream& in, unsigned& value) {
    KtStreamTokenizer::sDiscardWhite(in);
    int c = in.peek();
    if (c < '0' || c > '9') return false;
    unsigned long long v = 0;
    bool overflow = false;
    while ((c = in.peek()) >= '0' && c <= '9') {
        in.advance(1);
        v = v * 10 + static_cast<unsigned>(c - '0');
        if (v > 0xFFFFFFFFull) {
            overflow = true;
            v = 0xFFFFFFFFull + 1;  // keep consuming the digits without wrapping
        }
    }
    if (overflow) return false;
    value = static_cast<unsigned>(v);
    return true;
}
}  // namespace

bool KtStreamTokenizer::sGetUnsigned(KtInputStream& in, unsigned& value) {
    // The usual number: blanks, then at most nine digits (so no overflow is possible)
    // followed by a non-digit, all inside the window; it is converted where it stands.
    const char* p = in.current();
    const char* const end = in.end();
    while (p < end && (*p == ' ' || *p == '\t')) ++p;
    const char* const limit = end - p > 10 ? p + 10 : end;
    const char* q = p;
    unsigned v = 0;
    while (q < limit && static_cast<unsigned char>(*q - '0') <= 9) v = v * 10 + static_cast<unsigned>(*q++ - '0');
    if (q < limit && q - p < 10) {
        in.setCurrent(q);  // past the blanks, and the digits if any
        if (q == p) return false;
        value = v;
        return true;
    }
    return readUnsigned(in, value);
}

unsigned KtStreamTokenizer::sGetUnsigned(KtInputStream& in) {
    sDiscardWhite(in);
    int c = in.peek();
    if (c < '0' || c > '9') KtException::sThrow("Unsigned number expected");
    unsigned value = 0;
    if (!sGetUnsigned(in, value)) KtException::sThrow("Unsigned number out of range");
    return value;
}
