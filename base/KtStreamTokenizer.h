// Token reading over input streams.
#ifndef KTSIP_KT_STREAM_TOKENIZER_H
#define KTSIP_KT_STREAM_TOKENIZER_H

#include "KtInputStream.h"
#include "KtScanner.h"
#include "KtString.h"

/// Static readers of tokens, lines, quoted strings and numbers.
///
/// Buffers are never overrun: a token or line longer than the caller's buffer is cut
/// to `size - 1` bytes (plus the NUL) and the rest of it is read and dropped, so the
/// stream stands where it would have stood with a large enough buffer.
class KtStreamTokenizer {
public:
    /// Reads up to (not including) the first delimiter or the end of the input into `buffer`
    /// (NUL-terminated) and returns the length stored. The delimiter stays in the stream.
    /// Returns -1 (failure) when the input is already at its end; 0 when it starts with a
    /// delimiter. `size` must be at least 1.
    static int sGetToken(KtInputStream& in, const char* delimiters, char* buffer, unsigned size);
    static int sGetToken(KtInputStream& in, const KtDelimiterSet& delimiters, char* buffer, unsigned size);
    /// As sGetToken, but the stream is left where it was (its mark is not touched).
    static int sPeekToken(KtInputStream& in, const char* delimiters, char* buffer, unsigned size);
    static int sPeekToken(KtInputStream& in, const KtDelimiterSet& delimiters, char* buffer, unsigned size);
    /// Skips spaces and tabs (KtScanner::sSkipBlanks, under the name the readers have used).
    static void sDiscardWhite(KtInputStream& in) { KtScanner::sSkipBlanks(in); }
    /// Skips up to and including the next LF (or to the end of the input).
    static void sDiscardLine(KtInputStream& in);
    /// The rest of the line without its line end (LF or CR LF), spaces and tabs in front
    /// skipped. At the end of the input the result is empty.
    static KtString sGetLine(KtInputStream& in);
    /// As above into `buffer` (cut to `size - 1` bytes); returns the length stored, or -1
    /// when the input is at its end before anything is read.
    static int sGetLine(KtInputStream& in, char* buffer, unsigned size);
    /// Reads a double-quoted string whose opening quote is the next byte and returns its
    /// content without the quotes; a backslash keeps the byte after it inside the string
    /// (both are returned as they stand). Throws KtException "Quoted string expected" when
    /// the next byte is not a quote and "Unterminated quoted string" at the end of the input.
    static KtString sGetQuote(KtInputStream& in);
    /// Skips spaces and tabs, then reads a decimal unsigned number. Throws KtException
    /// "Unsigned number expected" when no digit follows and "Unsigned number out of range"
    /// above 4294967295.
    static unsigned sGetUnsigned(KtInputStream& in);
    /// Non-throwing form: returns false (and consumes only the blanks) when no number follows
    /// or it is out of range.
    static bool sGetUnsigned(KtInputStream& in, unsigned& value);
};

#endif
