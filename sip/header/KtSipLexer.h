// The character sets and shared words of the SIP grammar, beside the generic scanner.
#ifndef KTSIP_KT_SIP_LEXER_H
#define KTSIP_KT_SIP_LEXER_H

#include "KtScanner.h"

class KtStringTable;

/// The scanner with the sets of the SIP grammar: the readers of header values, URLs and
/// Digest pairs take their character classes, spans and bounded reading from here.
class KtSipLexer : public KtScanner {
public:
    /// Token separators: space, tab, CR, LF, \ " ( ) < > @ , ; : / [ ] ? = { }.
    static const KtDelimiterSet& sTokenSeparators();
    /// List separators: comma, space, tab, CR, LF.
    static const KtDelimiterSet& sListSeparators();
    /// The separators of a method token (CSeq, RAck, Timestamp): the token separators
    /// without the backslash.
    static const KtDelimiterSet& sMethodSeparators();
    /// Space, tab, CR, LF.
    static const KtDelimiterSet& sWhiteSeparators();
    /// CR and LF: a reader that takes the rest of the line stops at them.
    static const KtDelimiterSet& sLineEnd();
    /// The end of a comment whose "(" has been read: ")", CR, LF.
    static const KtDelimiterSet& sCommentEnd();
    /// The words that recur in header values (methods, option tags, media types, event
    /// packages, encodings): the value readers share these constants instead of allocating
    /// a string for each.
    /// Inline: every token header value is read through it.
    static const KtStringTable& sCommonWords() {
        static const KtStringTable& sWords = sCommonWordTable();
        return sWords;
    }

private:
    // The table behind sCommonWords, built on first use.
    static const KtStringTable& sCommonWordTable();
};

#endif
