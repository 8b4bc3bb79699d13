// The reader of Digest name=value pair lists.
#include "KtSipDigestPairReader.h"

#include <strings.h>

#include <cstring>

#include "KtException.h"
#include "KtStreamTokenizer.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipDigestPairReader")

namespace {

/// Lower-cases ASCII letters in place.
void lowerCase(char* text, unsigned length) {
    for (unsigned i = 0; i < length; ++i) {
        if (text[i] >= 'A' && text[i] <= 'Z') text[i] = static_cast<char>(text[i] - 'A' + 'a');
    }
}

// Spaces outside quotes are dropped by the reader (tabs are text).
const char* skipSpaces(const char* p, const char* end) {
    while (p < end && *p == ' ') ++p;
    return p;
}

// Reads, straight from the stream's window, the pairs of the usual shape: spaces, a name of
// letters, digits, "-" and "_", spaces, "=", spaces, then a quoted value without quote, NUL,
// CR or LF inside, or a bare value up to a space, ",", CR or LF, then spaces and a "," that
// ends the pair. Each such pair is stored as the general reader stores it (quotes and
// spaces dropped, the same bytes counted against the buffer limit); `buffered` counts
// them. Stops at the first pair of another shape, at a pair that ends the list or reaches
// the window's end, or one that would pass the limit, with the stream at that pair's
// start: the general reader goes on from there in the state it would have reached.
void readPlainPairs(KtInputStream& in, KtParameters& pairs, unsigned& buffered) {
    static const KtDelimiterSet nameStops = KtDelimiterSet::sComplementOf(
        KtDelimiterSet("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_"));
    static const KtDelimiterSet quotedStops("\"\r\n", 4);  // and NUL
    static const KtDelimiterSet bareStops(" ,\"\r\n\t", 7);  // and NUL
    const char* const end = in.end();
    const char* p = in.current();
    for (;;) {
        const char* const start = skipSpaces(p, end);
        const char* const nameEnd = nameStops.findIn(start, end);
        if (nameEnd == start) return;
        const char* q = skipSpaces(nameEnd, end);
        if (q == end || *q != '=') return;
        q = skipSpaces(q + 1, end);
        const char* valueBegin;
        const char* valueEnd;
        if (q < end && *q == '"') {
            valueBegin = q + 1;
            valueEnd = quotedStops.findIn(valueBegin, end);
            if (valueEnd == end || *valueEnd != '"') return;
            q = valueEnd + 1;
        } else {
            valueBegin = q;
            valueEnd = bareStops.findIn(valueBegin, end);
            q = valueEnd;
        }
        q = skipSpaces(q, end);
        if (q == end || *q != ',') return;  // the last pair, or another shape
        const unsigned nameLength = static_cast<unsigned>(nameEnd - start);
        const unsigned valueLength = static_cast<unsigned>(valueEnd - valueBegin);
        if (nameLength + valueLength > KtSipDigestPairReader::BUFFER_SIZE - buffered) return;
        buffered += nameLength + valueLength;
        pairs.setValue(start, nameLength, valueBegin, valueLength, true, KtParameters::sOwner);
        p = q + 1;
        in.setCurrent(p);
    }
}

}  // namespace

void KtSipDigestPairReader::sRead(KtInputStream& in, KtParameters& pairs, NameCase nameCase) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestPairReader::sRead");

    // One byte more than the limit for the NUL written behind a value when it is stored.
    char buffer[BUFFER_SIZE + 1];
    // The current pair's name, copied out of the buffer so that it can be NUL-terminated.
    char name[BUFFER_SIZE + 1];
    unsigned write = 0;         // next free byte of buffer; also the bytes buffered so far
    // The list stores at most the bytes of the window (each pair has an "=" or a ","
    // that is not stored) and about one pair per comma: room for that is made at once.
    {
        const char* p = in.current();
        const char* const end = in.end();
        const unsigned window = static_cast<unsigned>(end - p);
        unsigned commas = 0;
        while ((p = ktFindByte(p, end, ',')) < end) {
            ++commas;
            ++p;
        }
        pairs.reserve(commas + 1, window < BUFFER_SIZE ? window : BUFFER_SIZE, KtParameters::sOwner);
    }
    // The pairs of the usual shape before the last one are stored from the window; the
    // loop below starts where they end, with their bytes counted.
    readPlainPairs(in, pairs, write);
    unsigned segment = write;   // start of the text of the current name or value
    unsigned nameLength = 0;
    bool haveName = false;      // an "=" has ended the current pair's name
    bool inQuotes = false;

    // Stores one byte, refusing to go past the buffer.
    auto store = [&](char c) {
        if (write >= BUFFER_SIZE) KtException::sThrow("Buffer overflew !!!");
        buffer[write++] = c;
    };
    // Stores the pending pair (name and the text from the segment start) in the list.
    auto storePair = [&](bool last) {
        if (haveName && nameLength > 0) {
            if (last && nameCase == LowerCaseLastName) lowerCase(name, nameLength);
            buffer[write] = '\0';
            pairs.setValue(name, buffer + segment, KtParameters::sOwner);
            TORVANE_DEBUG(fileLogger(), "pair " << name << " = \"" << (buffer + segment) << "\"");
        }
        haveName = false;
        nameLength = 0;
        segment = write;
    };

    // The bytes every state stores as they stand (all but these) are copied from the stream's
    // window a run at a time; the others take the rules below one by one.
    static const KtDelimiterSet special("\"=,\n\r ", 6);
    for (;;) {
        const char* const run = in.current();
        const char* const end = in.end();
        const char* const p = special.findIn(run, end);
        if (p != run) {
            const unsigned n = static_cast<unsigned>(p - run);
            if (n > BUFFER_SIZE - write) KtException::sThrow("Buffer overflew !!!");
            std::memcpy(buffer + write, run, n);
            write += n;
            in.setCurrent(p);
        }
        const int c = in.read();
        if (c < 0) break;
        const char ch = static_cast<char>(c);
        switch (ch) {
            case '"':
                inQuotes = !inQuotes;
                break;
            case '=':
                if (haveName) {
                    store(ch);
                } else {
                    const char* begin = buffer + segment;
                    const char* end = buffer + write;
                    ktTrimRange(begin, end);
                    nameLength = static_cast<unsigned>(end - begin);
                    std::memcpy(name, begin, nameLength);
                    name[nameLength] = '\0';
                    haveName = true;
                    segment = write;
                }
                break;
            case ',':
                if (inQuotes || !haveName) {
                    store(ch);
                } else {
                    storePair(false);
                }
                break;
            case '\n':
                if (inQuotes) {
                    store(ch);
                    break;
                }
                storePair(true);
                return;
            case '\r':
                // Part of a CR LF line end outside quotes; kept otherwise.
                if (!inQuotes && in.peek() == '\n') break;
                store(ch);
                break;
            case ' ':
                if (inQuotes) store(ch);
                break;
            default:
                store(ch);
                break;
        }
    }
    storePair(true);
}

bool KtSipDigestPairReader::sIsScheme(const char* type, unsigned length, const KtString& scheme) {
    return type != nullptr && length == scheme.length() && strncasecmp(type, scheme.c_str(), length) == 0;
}

KtSipDigestPairReader::SchemeSplit KtSipDigestPairReader::sSplitScheme(const char* value, unsigned length) {
    if (value == nullptr) value = "";
    const char* const end = value + length;
    const char* blank = value;
    while (blank < end && *blank != ' ' && *blank != '\t') ++blank;
    SchemeSplit split;
    split.scheme = value;
    split.schemeLength = static_cast<unsigned>(blank - value);
    if (blank < end) ++blank;
    split.list = blank;
    split.listLength = static_cast<unsigned>(end - blank);
    return split;
}

KtSipDigestPairReader::SchemeSplit KtSipDigestPairReader::sReadSchemeLine(KtInputStream& in, KtString& line) {
    KtStreamTokenizer::sDiscardWhite(in);
    const char* text = in.current();
    const char* const end = in.end();
    const char* const lf = ktFindByte(text, end, '\n');
    unsigned length;
    if (lf < end) {
        length = static_cast<unsigned>(lf - text);
        if (length > 0 && text[length - 1] == '\r') --length;
        in.setCurrent(lf + 1);
    } else {
        line = KtStreamTokenizer::sGetLine(in);
        text = line.c_str();
        length = line.length();
    }
    // The value is what its C string holds: up to the first NUL.
    const char* const nul = static_cast<const char*>(std::memchr(text, '\0', length));
    if (nul != nullptr) length = static_cast<unsigned>(nul - text);
    return sSplitScheme(text, length);
}
