// The header registry and the reading and writing of header lines.
#include "KtSipHeader.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <strings.h>

#include "KtProbeTable.h"
#include "KtSipUnknownHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipHeader")

const char KtSipHeader::sDelimeters[] = " \t\r\n\\\"()<>@,;:/[]?={}";
const char KtSipHeader::sWhiteSpace[] = " \t\r\n";
const char KtSipHeader::sSIP[] = "SIP";
const char KtSipHeader::sUDP[] = "UDP";
const char KtSipHeader::sTCP[] = "TCP";
const char KtSipHeader::sTagToken[] = "tag";
const char KtSipHeader::sQToken[] = "q";

const KtDelimiterSet& KtSipHeader::sDelimeterSet() {
    static const KtDelimiterSet set(sDelimeters);
    return set;
}

namespace {

typedef KtSipHeader* (*Constructor)();

struct CaseLess {
    bool operator()(const char* a, const char* b) const { return strcasecmp(a, b) < 0; }
};

// The registry: the ordered map of names (the reference structure, case-insensitive order)
// and, filled at the same time, the probe table through which lookups go. A lookup probes for
// the exact spelling first, as names mostly arrive as registered, and walks the same chain
// ignoring case only when that fails (names are unique ignoring case, so at most one entry
// matches either way). Both structures are written only while the library's static
// initialisers run. Registrations beyond the table's capacity stay in the map only, and
// lookups that the table cannot answer then go to the map (the rule of the method registry
// too: no registration is ever dropped).
struct Registry {
    static const unsigned kCapacity = 128;  // twice the 64 names of the library, leaving room for more
    std::map<const char*, Constructor, CaseLess> map;
    KtProbeTable<Constructor> table{kCapacity};
    bool complete = true;  // every registered name is in the table

    KT_ALWAYS_INLINE Constructor find(const char* name, unsigned length) const {
        const char* exact;
        return find(name, length, exact);
    }
    // As above; `exact` is the registered name when the spelling matched it exactly, else null.
    KT_ALWAYS_INLINE Constructor find(const char* name, unsigned length, const char*& exact) const {
        Constructor c = table.find(name, length, exact);
        return c != nullptr ? c : probeIgnoringCase(name, length);
    }

    __attribute__((noinline)) Constructor probeIgnoringCase(const char* name, unsigned length) const {
        Constructor c = table.findIf(name, length, [&](const char* n) { return strncasecmp(n, name, length) == 0; });
        return c != nullptr || complete ? c : findInMap(name, length);
    }

    // The map's answer for the `length` bytes at `name`, once names have spilled past the table.
    Constructor findInMap(const char* name, unsigned length) const {
        const std::string key(name, length);
        const auto it = map.find(key.c_str());
        return it == map.end() ? nullptr : it->second;
    }

    Constructor find(const char* name) const { return find(name, static_cast<unsigned>(std::strlen(name))); }

    void add(const char* name, Constructor constructor) {
        if (!map.emplace(name, constructor).second) return;  // first registration wins
        if (!table.add(name, static_cast<unsigned>(std::strlen(name)), constructor)) complete = false;
    }
};

// Created on first registration; lives until the process ends (the names it holds are the
// static tokens of the header classes, which live as long).
Registry* gRegistry = nullptr;

// The constructor registered for `name` (NUL-terminated), or null.
Constructor lookup(const char* name) { return gRegistry != nullptr ? gRegistry->find(name) : nullptr; }


}  // namespace

KtSipHeader::~KtSipHeader() {
    if (!m_Next.isNil()) releaseChain();  // the usual single header has no chain
}

void KtSipHeader::releaseChain() {
    // Unlink the rest of the chain iteratively so that a long chain does not recurse once per
    // element through the destructors.
    KtHandle<KtSipHeader> next(std::move(m_Next));
    while (!next.isNil() && next->getRefCount() == 1) {
        KtHandle<KtSipHeader> after(std::move(next->m_Next));
        next = std::move(after);
    }
}

void KtSipHeader::sAddConstructor(const char* token, KtSipHeader* (*constructor)()) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::sAddConstructor");
    if (token == nullptr || constructor == nullptr) return;
    TORVANE_TRACE(fileLogger(), "pToken = " << '"' << token << '"');
    if (gRegistry == nullptr) gRegistry = new Registry();
    gRegistry->add(token, constructor);
}

bool KtSipHeader::sIsRegistered(const char* token) { return token != nullptr && lookup(token) != nullptr; }

std::vector<const char*> KtSipHeader::sRegisteredNames() {
    std::vector<const char*> names;
    if (gRegistry != nullptr)
        for (const auto& entry : gRegistry->map) names.push_back(entry.first);
    return names;
}

namespace {

// The header object for the `length` bytes at `token` (no NUL among them): the registered
// class, or an unknown header keeping the name. `constructor` is the registered constructor
// (null for an unknown name), `exact` the registered name when `token` spelled it exactly.
// Inlined: the usual line's reading (sConstructFrom) runs it once per line.
KT_ALWAYS_INLINE KtSipHeader* construct(const char* token, unsigned length,
                                                             Constructor& constructor, const char*& exact) {
    exact = nullptr;
    constructor = gRegistry != nullptr ? gRegistry->find(token, length, exact) : nullptr;
    if (constructor != nullptr) return constructor();
    char name[KtSipHeader::NAME_BUFFER_SIZE];
    if (length >= sizeof name) length = sizeof name - 1;  // callers pass peeked names, shorter
    std::memcpy(name, token, length);
    name[length] = '\0';
    return new KtSipUnknownHeader(name);
}

KtSipHeader* construct(const char* token, bool& registered) {
    if (token == nullptr) token = "";
    const unsigned length = static_cast<unsigned>(std::strlen(token));
    if (length < KtSipHeader::NAME_BUFFER_SIZE) {
        const char* exact;
        Constructor constructor;
        KtSipHeader* header = construct(token, length, constructor, exact);
        registered = constructor != nullptr;
        return header;
    }
    Constructor constructor = gRegistry != nullptr ? gRegistry->find(token, length) : nullptr;
    registered = constructor != nullptr;
    return registered ? constructor() : new KtSipUnknownHeader(token);
}

// A logical header line, gathered once: in place when the stream's window holds it whole
// (ending in CR LF, with no other CR and no fold), else collected into the caller's
// LINE_BUFFER_SIZE-byte buffer. Either way `text` is followed by CR LF in memory.
struct GatheredLine {
    const char* text;
    unsigned length;         // without the line end
    bool overflow;           // the collected line did not fit its buffer (text is cut)
    // The peeked name (asked for by sConstructFrom only): the raw bytes of the first physical
    // line up to its first colon or LF, at most NAME_BUFFER_SIZE - 1 of them, trailing blanks
    // stripped, then cut at a NUL for the lookup. When `colon` is set, it is the line's first
    // colon and the peeked name is also the line's own (trimmed) name: the `nameLength` bytes
    // at `text`.
    const char* name;
    unsigned nameLength;
    const char* colon;
};

// True when the two bytes at `p` are CR LF.
KT_ALWAYS_INLINE bool isLineEnd(const char* p) {
    std::uint16_t pair;
    std::memcpy(&pair, p, 2);
    std::uint16_t crlf;
    std::memcpy(&crlf, "\r\n", 2);
    return pair == crlf;
}

// Strips white space (ktIsWhite, all of it at or below the space) from the end of the `n`
// bytes at `p`; returns the length left.
KT_ALWAYS_INLINE unsigned stripTrailingWhite(const char* p, unsigned n) {
    while (n > 0 && static_cast<unsigned char>(p[n - 1]) <= ' ' && ktIsWhite(p[n - 1])) --n;
    return n;
}

// The line in place: it lies whole in the window, ends in CR LF, holds no other CR and is not
// folded (the byte after its LF is neither space nor tab). Returns its length up to the CR, or
// -1 when it must be collected. One scan finds the first CR or LF: the line qualifies when
// that byte, within `textMax` bytes, is a CR followed by its LF.
KT_ALWAYS_INLINE int inPlaceLength(const KtInputStream& in, unsigned textMax) {
    const char* p = in.current();
    const char* end = in.end();
    if (p >= end) return -1;
    const char* limit = static_cast<unsigned>(end - p) > textMax + 1 ? p + textMax + 1 : end;
    const char* cr = ktFindEitherLong(p, limit, '\r', '\n');
    if (cr == limit || end - cr < 3 || !isLineEnd(cr) || cr[2] == ' ' || cr[2] == '\t') return -1;
    return static_cast<int>(cr - p);
}

// Ends the peek of `stored` bytes in `peeked`: trailing blanks stripped, NUL-terminated; returns
// the length of the name looked up (up to a NUL). A name left empty is refused (the first
// physical line has been consumed by then).
unsigned endPeek(char* peeked, unsigned stored) {
    stored = stripTrailingWhite(peeked, stored);
    if (stored == 0) KtSipParseError::sThrow("Header token expected");
    peeked[stored] = '\0';
    return static_cast<unsigned>(std::strlen(peeked));
}

// The peek over a line read in place (no CR or LF inside it).
KT_ALWAYS_INLINE void peekInPlace(char* peeked, GatheredLine& line) {
    const char* p = line.text;
    const unsigned max = KtSipHeader::NAME_BUFFER_SIZE - 1;
    const char* capped = p + (line.length < max ? line.length : max);
    // The usual name: a colon within the cap, no NUL before it, no blank in front.
    const char* q = ktFindEither(p, capped, ':', '\0');
    if (q < capped && *q == ':' && *p != ' ' && *p != '\t') {
        const unsigned n = stripTrailingWhite(p, static_cast<unsigned>(q - p));
        if (n == 0) KtSipParseError::sThrow("Header token expected");
        line.name = p;
        line.nameLength = n;
        line.colon = q;
        return;
    }
    const char* colon = static_cast<const char*>(std::memchr(p, ':', line.length));
    const char* stop = colon != nullptr && colon < capped ? colon : capped;
    const unsigned stored = static_cast<unsigned>(stop - p);
    std::memcpy(peeked, p, stored);
    line.name = peeked;
    line.nameLength = endPeek(peeked, stored);
    line.colon = nullptr;
}

// Collects the logical line: CRs are dropped, an LF followed by a space or tab folds (both
// dropped, nothing inserted), any other LF ends the line, as does the end of the input. The
// text and the CR LF appended to it must fit `buffer`; a longer line is read to its end and
// marked. With `peeked`, the name is peeked from the raw bytes on the way.
__attribute__((noinline)) void collectLine(KtInputStream& in, char* buffer, char* peeked, GatheredLine& line) {
    const unsigned kTextMax = KtSipHeader::LINE_BUFFER_SIZE - 2;
    const unsigned kPeekMax = KtSipHeader::NAME_BUFFER_SIZE - 1;
    unsigned n = 0;
    bool overflow = false;
    bool peeking = peeked != nullptr;  // the peek has not yet met its colon or LF
    unsigned peekStored = 0;
    bool firstLine = true;
    for (;;) {
        const char* p = in.current();
        const char* end = in.end();
        const char* nl = static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
        const char* stop = nl ? nl : end;
        if (peeking) {
            const char* colon = static_cast<const char*>(std::memchr(p, ':', static_cast<std::size_t>(stop - p)));
            const char* peekEnd = colon ? colon : stop;
            unsigned len = static_cast<unsigned>(peekEnd - p);
            if (len > kPeekMax - peekStored) len = kPeekMax - peekStored;
            std::memcpy(peeked + peekStored, p, len);
            peekStored += len;
            peeking = colon == nullptr && nl == nullptr;
        }
        // Copy [p, stop) without its CRs.
        while (p < stop) {
            const char* cr = static_cast<const char*>(std::memchr(p, '\r', static_cast<std::size_t>(stop - p)));
            const char* chunkEnd = cr ? cr : stop;
            unsigned len = static_cast<unsigned>(chunkEnd - p);
            if (n + len > kTextMax) {
                overflow = true;
                len = n < kTextMax ? kTextMax - n : 0;
            }
            std::memcpy(buffer + n, p, len);
            n += len;
            p = cr ? cr + 1 : stop;
        }
        in.setCurrent(stop);
        if (nl == nullptr) {
            if (!in.fill()) break;  // end of input ends the line
            continue;
        }
        in.advance(1);  // the LF
        if (firstLine && peeked != nullptr) line.nameLength = endPeek(peeked, peekStored);
        firstLine = false;
        int next = in.peek();
        if (next == ' ' || next == '\t') {
            in.advance(1);  // folded: drop the white-space character too
            continue;
        }
        break;
    }
    if (firstLine && peeked != nullptr) line.nameLength = endPeek(peeked, peekStored);
    line.name = peeked;
    line.colon = nullptr;
    buffer[n] = '\r';
    buffer[n + 1] = '\n';
    line.text = buffer;
    line.length = n;
    line.overflow = overflow;
}

// Gathers the logical line at the stream's position into `line` and consumes it; `buffer` has
// LINE_BUFFER_SIZE bytes. With `peeked` (NAME_BUFFER_SIZE bytes) the name is peeked as well,
// and an empty one is refused with only the first physical line consumed.
KT_ALWAYS_INLINE void gatherLine(KtInputStream& in, char* buffer, char* peeked, GatheredLine& line) {
    const int inPlace = inPlaceLength(in, KtSipHeader::LINE_BUFFER_SIZE - 2);
    if (inPlace < 0) return collectLine(in, buffer, peeked, line);
    line.text = in.current();
    line.length = static_cast<unsigned>(inPlace);
    line.overflow = false;
    in.setCurrent(line.text + inPlace + 2);
    if (peeked != nullptr) peekInPlace(peeked, line);
}

}  // namespace

KtSipHeader* KtSipHeader::sConstruct(const char* token) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::sConstruct");
    bool registered;
    return construct(token, registered);
}

KtHandle<KtSipHeader> KtSipHeader::sConstructFrom(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::sConstructFrom");
    // The class is chosen by the peeked name (trailing blanks stripped, leading ones kept);
    // the header then keeps the name of the whole line, CRs dropped and trimmed. The two may
    // differ: " From" or "Fr<CR>om" select the unknown header, which is written back under
    // the name "From". The peek stops at an LF, so that a line without a colon does not
    // borrow the name of the next line.
    char buffer[LINE_BUFFER_SIZE];
    char peeked[NAME_BUFFER_SIZE];
    GatheredLine line;
    gatherLine(in, buffer, peeked, line);
    Constructor constructor;
    const char* exact;
    KtHandle<KtSipHeader> header(construct(line.name, line.nameLength, constructor, exact));
    {
        TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::parse");
        // A class registers its own token's text: when the line spelled that very name (and
        // the peeked name is the line's), the token already holds it, and the constructor
        // found is the one registered for the class's (expanded) token.
        const bool tokenIsName = exact != nullptr && exact == header->m_Token.c_str() && line.colon != nullptr;
        header->parseLine(line.text, line.length, line.overflow, line.colon, line.nameLength,
                          tokenIsName ? constructor : nullptr);
    }
    return header;
}

void KtSipHeader::parse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::parse");
    char buffer[LINE_BUFFER_SIZE];
    GatheredLine line;
    gatherLine(in, buffer, nullptr, line);
    parseLine(line.text, line.length, line.overflow, nullptr, 0, nullptr);
}

// The grammar of a gathered line, inlined into both callers: the name before the first colon
// (trimmed), then the comma-separated values. `colon`, when known, is the first colon and the
// name the `nameLength` bytes at `line`.
KT_ALWAYS_INLINE void KtSipHeader::parseLine(const char* line, unsigned n, bool overflow, const char* colon,
                                             unsigned nameLength, KtSipHeader* (*ownConstructor)()) {
    if (overflow) KtSipParseError::sThrow("Header line too long");
    const char* name = line;
    if (colon == nullptr) {
        colon = static_cast<const char*>(std::memchr(line, ':', n));
        if (colon == nullptr) KtSipParseError::sThrow("Header colon expected");
        const char* nameEnd = colon;
        ktTrimRange(name, nameEnd);
        nameLength = static_cast<unsigned>(nameEnd - name);
    }
    // When the name equals the current token (a class's own name), the token keeps sharing
    // that string; otherwise it becomes a string of its own, so the class's static token is
    // never changed.
    if (ownConstructor == nullptr &&
        (m_Token.length() != nameLength || !ktEqualBytes(m_Token.c_str(), name, nameLength)))
        m_Token = KtString(name, nameLength);

    // The value runs to the end of the line, its CR LF included.
    const unsigned valueStart = static_cast<unsigned>(colon - line) + 1;
    KtByteArrayInputStream value(line + valueStart, n + 2 - valueStart);
    readValues(value, ownConstructor);
}

// parseRest, inlined into the reading of a line.
KT_ALWAYS_INLINE void KtSipHeader::readValues(KtInputStream& in, KtSipHeader* (*elementConstructor)()) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::parseRest");
    // Each comma-separated element becomes a new header of the same class appended to the
    // chain; the loop keeps the chain's tail, so no recursion and no walk per element.
    KtSipHeader* tail = this;
    while (!tail->m_Next.isNil()) tail = tail->m_Next.get();
    KtSipHeader* current = this;
    // The class of the elements after the first: given, or looked up at a comma (once, unless
    // the name is not registered at all).
    Constructor constructor = elementConstructor;
    for (;;) {
        current->doParse(in);
        // Text that doParse left before the next comma is skipped, a window at a time. A
        // value read up to its line end leaves just the CR LF, which is passed unscanned.
        for (;;) {
            const char* p = in.current();
            const char* end = in.end();
            const char* comma = end - p == 2 && isLineEnd(p) ? end : ktFindByte(p, end, ',');
            if (comma < end) {
                in.setCurrent(comma + 1);
                break;
            }
            in.setCurrent(end);
            if (!in.fill()) return;
        }
        if (constructor == nullptr) constructor = lookup(getExpandedToken().c_str());
        KtSipHeader* next = constructor != nullptr ? constructor() : sConstruct(getExpandedToken().c_str());
        tail->m_Next = KtHandle<KtSipHeader>(next);
        tail = next;
        current = next;
    }
}

void KtSipHeader::parseRest(KtInputStream& in) { readValues(in, nullptr); }

void KtSipHeader::serialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::serialize");
    for (const KtSipHeader* h = this; h != nullptr; h = h->m_Next.get()) {
        out << h->m_Token;
        out.write(": ", 2);
        h->doSerialize(out);
        out.write("\r\n", 2);
    }
}

void KtSipHeader::addNext(KtSipHeader* header) {
    KtSipHeader* last = this;
    while (!last->m_Next.isNil()) last = last->m_Next.get();
    last->m_Next = KtHandle<KtSipHeader>(header);
}

KtString KtSipHeader::getValueString() const {
    KtByteArrayOutputStream out(128);
    doSerialize(out);
    return KtString(out.data(), out.size());
}

void KtSipHeader::parseText(const char* text) {
    if (!text) text = "";
    KtByteArrayInputStream in(text, static_cast<unsigned>(std::strlen(text)));
    doParse(in);
}
