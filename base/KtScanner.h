// The scanner the readers share: character classes, scanning and trimming over a span of
// bytes, and gathering a run of an input stream that crosses the stream's window.
#ifndef KTSIP_KT_SCANNER_H
#define KTSIP_KT_SCANNER_H

#include "KtInline.h"
#include "KtInputStream.h"
#include "KtScannerBuffer.h"
#include "KtString.h"

/// Static scanning helpers. A span is a pointer and an end, [p, end); the character
/// classes take a byte as `int` so that the -1 that read and peek give at the end of the
/// input can be tested too (it belongs to no class but sIsWhiteOrEnd). The class knows no
/// protocol: a protocol's own sets derive from it (KtSipLexer).
class KtScanner {
public:
    /// ASCII digit.
    static constexpr bool sIsDigit(int c) noexcept { return c >= '0' && c <= '9'; }
    /// ASCII letter.
    static constexpr bool sIsAlpha(int c) noexcept { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
    /// ASCII letter or digit.
    static constexpr bool sIsAlnum(int c) noexcept { return sIsDigit(c) || sIsAlpha(c); }
    /// Space or tab.
    static constexpr bool sIsBlank(int c) noexcept { return c == ' ' || c == '\t'; }
    /// Space, tab, CR or LF.
    static constexpr bool sIsWhite(int c) noexcept { return sIsBlank(c) || c == '\r' || c == '\n'; }
    /// White space or the end of the input (a negative value).
    static constexpr bool sIsWhiteOrEnd(int c) noexcept { return c < 0 || sIsWhite(c); }
    /// The ASCII lower case of `c` (other values unchanged).
    static constexpr int sToLower(int c) noexcept { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; }

    /// The first byte of [p, end) that is no blank, or `end`.
    static const char* sSkipBlanks(const char* p, const char* end) noexcept {
        while (p < end && sIsBlank(*p)) ++p;
        return p;
    }
    /// The first byte of [p, end) that is no white space, or `end`.
    static const char* sSkipWhite(const char* p, const char* end) noexcept {
        while (p < end && sIsWhite(*p)) ++p;
        return p;
    }
    /// The first byte of [p, end) that is no digit, or `end`.
    static const char* sSkipDigits(const char* p, const char* end) noexcept {
        while (p < end && sIsDigit(*p)) ++p;
        return p;
    }
    /// The end of [begin, end) without its trailing blanks.
    static const char* sTrimBlanksEnd(const char* begin, const char* end) noexcept {
        while (end > begin && sIsBlank(end[-1])) --end;
        return end;
    }
    /// Drops the trailing blanks of the `length` bytes of `text` and puts a NUL after the
    /// rest (text[length] must be writable); returns the new length.
    static unsigned sTrimBlanksEnd(char* text, unsigned length) noexcept {
        length = static_cast<unsigned>(sTrimBlanksEnd(text, text + length) - text);
        text[length] = '\0';
        return length;
    }
    /// Narrows [begin, end) to leave out white space at both ends.
    static void sTrimWhite(const char*& begin, const char*& end) noexcept { ktTrimRange(begin, end); }

    /// Skips the spaces and tabs at the stream's position.
    static void sSkipBlanks(KtInputStream& in) {
        for (int c = in.peek(); sIsBlank(c); c = in.peek()) in.advance(1);
    }
    /// Appends the bytes of `in` that belong to `set` to `buffer`, a window at a time across
    /// refills, and stops before the first byte outside it or at the end of the input.
    /// Returns false on overflow (after the buffer's handler); the stream then stands at the
    /// start of the window's piece that did not fit, and the buffer has grown by exactly the
    /// bytes consumed.
    static bool sGatherWhile(KtInputStream& in, const KtDelimiterSet& set, KtScannerBuffer& buffer);
    /// As sGatherWhile for the bytes up to the first byte of `stops`.
    static bool sGatherUntil(KtInputStream& in, const KtDelimiterSet& stops, KtScannerBuffer& buffer);
    /// The run of bytes of `in` that belong to `set`, as the span [begin, end), the stream
    /// moved past it: the run is taken where it stands when it ends inside the window (the
    /// span is valid until the stream is read further), and otherwise gathered into
    /// `buffer` (cleared first) across refills. Returns false on overflow, as sGatherWhile;
    /// a run longer than the buffer's limit overflows wherever it lies.
    KT_ALWAYS_INLINE static bool sTakeWhile(KtInputStream& in, const KtDelimiterSet& set, KtScannerBuffer& buffer, const char*& begin,
                           const char*& end) {
        return takeRun<false>(in, set, buffer, begin, end);
    }
    /// As sTakeWhile for the bytes up to the first byte of `stops`.
    KT_ALWAYS_INLINE static bool sTakeUntil(KtInputStream& in, const KtDelimiterSet& stops, KtScannerBuffer& buffer, const char*& begin,
                           const char*& end) {
        return takeRun<true>(in, stops, buffer, begin, end);
    }
    /// Skips spaces and tabs, then reads up to the first byte of `stops` (or the end of the
    /// input) into `buffer`, NUL-terminated. Returns the length, or -1 when the text does not
    /// fit in `size - 1` bytes (the whole over-long text is consumed). `size` is at least 1.
    static int sReadBounded(KtInputStream& in, const KtDelimiterSet& stops, char* buffer, unsigned size);

private:
    // sTakeWhile (`StopIn` false) and sTakeUntil (true): the window's run in place, else
    // gathered.
    template <bool StopIn>
    KT_ALWAYS_INLINE static bool takeRun(KtInputStream& in, const KtDelimiterSet& set, KtScannerBuffer& buffer, const char*& begin,
                        const char*& end) {
        const char* const p = in.current();
        const char* const q = StopIn ? set.findIn(p, in.end()) : set.skipIn(p, in.end());
        if (q < in.end() && static_cast<unsigned long>(q - p) <= buffer.limit()) {
            begin = p;
            end = q;
            in.setCurrent(q);
            return true;
        }
        return sGatherSpan(in, set, StopIn, buffer, begin, end);
    }
    // The gathering half of sTakeWhile (`stopIn` false) and sTakeUntil (true).
    static bool sGatherSpan(KtInputStream& in, const KtDelimiterSet& set, bool stopIn, KtScannerBuffer& buffer,
                            const char*& begin, const char*& end);
};

#endif
