// The reader of Digest name=value pair lists, shared by challenges, credentials and
// Authentication-Info values.
#ifndef KTSIP_KT_SIP_DIGEST_PAIR_READER_H
#define KTSIP_KT_SIP_DIGEST_PAIR_READER_H

#include "KtByteArray.h"
#include "KtInputStream.h"
#include "KtParameters.h"
#include "KtString.h"

/// Reads a comma-separated list of name=value pairs (the text after the scheme word of a
/// WWW-Authenticate, Proxy-Authenticate, Authorization or Proxy-Authorization value, or a
/// whole Authentication-Info value) into a KtParameters list.
///
/// The rules, in one pass over the input:
/// - a double quote toggles quoting and is not kept;
/// - the first "=" of a pair ends its name (trimmed of white space); a later "=" belongs to
///   the value (base64 nonces end in "==");
/// - outside quotes, a "," ends the pair; the value is kept as read, not trimmed;
/// - spaces outside quotes are dropped, spaces inside quotes are kept;
/// - a name already in the list has its value replaced;
/// - with `LowerCaseLastName`, the name of the pair that ends the list is lower-cased; the
///   names of the earlier pairs keep their case (peers are matched by exact name later).
///
/// Choices of this reader where the grammar is loose, made so that no input can overrun or
/// loop:
/// - All buffered text of one list is limited to BUFFER_SIZE bytes; one more byte throws
///   KtException "Buffer overflew !!!".
/// - Outside quotes, an LF ends the list (a CR right before it is dropped); the pending pair
///   is stored as the last pair. Inside quotes an LF is kept.
/// - A "," that does not end a value (no "=" seen since the last pair) is kept as text, so
///   "a=1,b,c=2" yields the names a and "b,c".
/// - Text after the last "," that has no "=" (a bare word), and pairs whose name is empty,
///   are dropped: Digest has no valueless parameters.
class KtSipDigestPairReader {
public:
    /// Size of the work buffer for one pair list.
    static const unsigned BUFFER_SIZE = 1024;

    /// How names are stored.
    enum NameCase {
        KeepNameCase,      ///< every name as written (Authentication-Info)
        LowerCaseLastName  ///< the last pair's name lower-cased (challenges, credentials)
    };

    /// Reads pairs from `in` until the end of the input or a line end, into `pairs`.
    static void sRead(KtInputStream& in, KtParameters& pairs, NameCase nameCase);

    /// A header value "scheme SP pair-list" split at its first space or tab: the scheme is the
    /// word before the blank, the list the bytes after it. Without a blank, the whole value is
    /// the scheme and the list is empty. Both point into the split text.
    struct SchemeSplit {
        const char* scheme;
        unsigned schemeLength;
        const char* list;
        unsigned listLength;
    };
    /// True when the `length` bytes at `type` (may be null) are `scheme` ignoring ASCII case:
    /// the scheme factories' test.
    static bool sIsScheme(const char* type, unsigned length, const KtString& scheme);
    /// Splits the `length` bytes at `value`.
    static SchemeSplit sSplitScheme(const char* value, unsigned length);
    /// Reads the rest of the line from `in` (KtStreamTokenizer::sGetLine: blanks in front
    /// skipped, line end dropped), cuts it at its first NUL and splits it. A line whose LF lies
    /// in the stream's window is split where it stands; otherwise it is collected into `line`,
    /// which then holds the text the result points into.
    static SchemeSplit sReadSchemeLine(KtInputStream& in, KtString& line);
};

#endif
