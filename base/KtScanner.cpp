// Gathering runs across a stream's refills, and the bounded reader.
#include "KtScanner.h"

namespace {

// Appends the bytes of `in` up to the first whose membership in `set` is `stopIn`.
template <bool StopIn>
bool gather(KtInputStream& in, const KtDelimiterSet& set, KtScannerBuffer& buffer) {
    for (;;) {
        const char* const p = in.current();
        const char* const end = in.end();
        const char* const q = StopIn ? set.findIn(p, end) : set.skipIn(p, end);
        if (!buffer.append(p, static_cast<unsigned>(q - p))) return false;
        in.setCurrent(q);
        if (q < end || !in.fill()) return true;
    }
}

}  // namespace

bool KtScanner::sGatherWhile(KtInputStream& in, const KtDelimiterSet& set, KtScannerBuffer& buffer) {
    return gather<false>(in, set, buffer);
}

bool KtScanner::sGatherUntil(KtInputStream& in, const KtDelimiterSet& stops, KtScannerBuffer& buffer) {
    return gather<true>(in, stops, buffer);
}

bool KtScanner::sGatherSpan(KtInputStream& in, const KtDelimiterSet& set, bool stopIn, KtScannerBuffer& buffer,
                            const char*& begin, const char*& end) {
    buffer.clear();
    const bool fits = stopIn ? gather<true>(in, set, buffer) : gather<false>(in, set, buffer);
    begin = buffer.data();
    end = begin + buffer.length();
    return fits;
}

int KtScanner::sReadBounded(KtInputStream& in, const KtDelimiterSet& stops, char* buffer, unsigned size) {
    sSkipBlanks(in);
    unsigned length = 0;
    bool overflow = false;
    for (int c = in.peek(); c >= 0 && !stops.contains(static_cast<unsigned char>(c)); c = in.peek()) {
        in.read();
        if (length + 1 < size)
            buffer[length++] = static_cast<char>(c);
        else
            overflow = true;
    }
    buffer[length] = '\0';
    return overflow ? -1 : static_cast<int>(length);
}
