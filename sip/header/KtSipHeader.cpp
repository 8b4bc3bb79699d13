// The header registry and the reading and writing of header lines.
#include "KtSipHeader.h"

#include <cstring>
#include <map>
#include <string>
#include <strings.h>

#include "KtProbeTable.h"
#include "KtSipUnknownHeader.h"
#include "KtStreamTokenizer.h"

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

    __attribute__((always_inline)) Constructor find(const char* name, unsigned length) const {
        const char* exact;
        return find(name, length, exact);
    }
    // As above; `exact` is the registered name when the spelling matched it exactly, else null.
    __attribute__((always_inline)) Constructor find(const char* name, unsigned length, const char*& exact) const {
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
    // Unlink the rest of the chain iteratively so that a long chain does not recurse once per
    // element through the destructors.
    if (m_Next.isNil()) return;  // the usual single header
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
__attribute__((always_inline)) inline KtSipHeader* construct(const char* token, unsigned length,
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

// The usual header line, read where it stands in the stream's window: `line` up to its CR LF
// is whole in the window, holds no other CR and is not folded, and its name (the bytes before
// the first colon, at most NAME_BUFFER_SIZE - 1 of them) starts with no blank and holds no
// NUL. For such a line the peek, the lookup and the line collection of the general path
// all see the same name and text, so one scan serves them.
struct PlainLine {
    const char* text = nullptr;  // the line
    unsigned length = 0;         // up to, not including, its CR LF
    const char* colon = nullptr;
    unsigned nameLength = 0;     // the name before the colon, trailing blanks stripped
};

// The usual line lies whole in the stream's window, ends in CR LF, holds no other CR and is
// not folded (the byte after its LF is neither space nor tab): returns its length up to the
// CR, or -1 when the general line collection must run. One scan finds the first CR or LF:
// the line qualifies when that byte, within `textMax` bytes, is a CR followed by its LF (so
// no other CR comes before it).
inline int plainLineLength(const KtInputStream& in, unsigned textMax) {
    const char* p = in.current();
    const char* end = in.end();
    if (p >= end) return -1;
    const char* limit = static_cast<unsigned>(end - p) > textMax + 1 ? p + textMax + 1 : end;
    const char* cr = ktFindEitherLong(p, limit, '\r', '\n');
    if (cr == limit || *cr != '\r' || cr + 2 >= end || cr[1] != '\n' || cr[2] == ' ' || cr[2] == '\t') return -1;
    return static_cast<int>(cr - p);
}

inline bool findPlainLine(const KtInputStream& in, unsigned textMax, PlainLine& line) {
    const char* p = in.current();
    if (p >= in.end() || *p == ' ' || *p == '\t') return false;
    const int lineLength = plainLineLength(in, textMax);
    if (lineLength < 0) return false;
    const unsigned length = static_cast<unsigned>(lineLength);
    const char* nameEnd = p + (length < KtSipHeader::NAME_BUFFER_SIZE - 1 ? length : KtSipHeader::NAME_BUFFER_SIZE - 1);
    const char* q = ktFindEither(p, nameEnd, ':', '\0');  // the colon or a NUL (the line holds no CR)
    if (q == nameEnd || *q != ':') return false;
    unsigned n = static_cast<unsigned>(q - p);
    while (n > 0 && ktIsWhite(p[n - 1])) --n;
    if (n == 0) return false;
    line.text = p;
    line.length = length;
    line.colon = q;
    line.nameLength = n;
    return true;
}

}  // namespace

KtSipHeader* KtSipHeader::sConstruct(const char* token) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::sConstruct");
    bool registered;
    return construct(token, registered);
}

KtHandle<KtSipHeader> KtSipHeader::sConstructFrom(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::sConstructFrom");
    // The name is peeked up to the colon. The peek also stops at an LF, so that a line
    // without a colon does not borrow the name of the next line; a CR is part of the peeked
    // name (the line's reading drops it later).
    PlainLine plain;
    if (findPlainLine(in, LINE_BUFFER_SIZE - 2, plain)) {
        Constructor constructor;
        const char* exact;
        KtHandle<KtSipHeader> header(construct(plain.text, plain.nameLength, constructor, exact));
        in.setCurrent(plain.text + plain.length + 2);
        TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::parse");
        // The name starts with no blank and holds no CR: the trimmed name of the line is the
        // peeked one, so an unknown name cannot turn out registered here. A class registers its
        // own token's text: when the line spelled that very name, the token already holds it,
        // and the constructor found is the one registered for the class's (expanded) token.
        const bool tokenIsName = exact != nullptr && exact == header->m_Token.c_str();
        header->parseNamedLine(plain.text, plain.length, plain.text, plain.nameLength, plain.colon,
                               tokenIsName ? constructor : nullptr);
        return header;
    }
    static const KtDelimiterSet nameEnd(":\n");
    char name[NAME_BUFFER_SIZE];
    int n = KtStreamTokenizer::sPeekToken(in, nameEnd, name, NAME_BUFFER_SIZE);
    while (n > 0 && ktIsWhite(name[n - 1])) name[--n] = '\0';
    if (n <= 0) {
        KtStreamTokenizer::sDiscardLine(in);
        KtSipParseError::sThrow("Header token expected");
    }
    // The class is chosen by the peeked name (trailing blanks stripped, leading ones kept);
    // the header then keeps the name read from the whole line, CRs dropped and trimmed. The
    // two may differ: " From" or "Fr<CR>om" select the unknown header, which is written back
    // under the name "From".
    bool registered;
    KtHandle<KtSipHeader> header(construct(name, registered));
    header->parse(in);
    return header;
}

void KtSipHeader::parse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::parse");
    // Collect the logical line: CRs are dropped, an LF followed by a space or tab folds (both
    // dropped, nothing inserted), any other LF ends the line. The text and the CR LF appended
    // to it must fit the 1024-byte buffer; a longer line is read to its end and refused.
    const unsigned kTextMax = LINE_BUFFER_SIZE - 2;

    // The usual line (see plainLineLength) is read where it stands, its CR LF serving as the
    // value's end.
    const int plain = plainLineLength(in, kTextMax);
    if (plain >= 0) {
        const char* p = in.current();
        in.setCurrent(p + plain + 2);
        parseLine(p, static_cast<unsigned>(plain));
        return;
    }

    char line[LINE_BUFFER_SIZE];
    unsigned n = 0;
    bool overflow = false;
    for (;;) {
        const char* p = in.current();
        const char* end = in.end();
        const char* nl = static_cast<const char*>(std::memchr(p, '\n', static_cast<std::size_t>(end - p)));
        const char* stop = nl ? nl : end;
        // Copy [p, stop) without its CRs.
        while (p < stop) {
            const char* cr = static_cast<const char*>(std::memchr(p, '\r', static_cast<std::size_t>(stop - p)));
            const char* chunkEnd = cr ? cr : stop;
            unsigned len = static_cast<unsigned>(chunkEnd - p);
            if (n + len > kTextMax) {
                overflow = true;
                len = n < kTextMax ? kTextMax - n : 0;
            }
            std::memcpy(line + n, p, len);
            n += len;
            p = cr ? cr + 1 : stop;
        }
        in.setCurrent(stop);
        if (nl == nullptr) {
            if (!in.fill()) break;  // end of input ends the line
            continue;
        }
        in.advance(1);  // the LF
        int next = in.peek();
        if (next == ' ' || next == '\t') {
            in.advance(1);  // folded: drop the white-space character too
            continue;
        }
        break;
    }
    if (overflow) KtSipParseError::sThrow("Header line too long");
    line[n] = '\r';
    line[n + 1] = '\n';
    parseLine(line, n);
}

void KtSipHeader::parseLine(const char* line, unsigned n, const char* colon) {
    // The name, trimmed, as received. When it equals the current token (a class's own name),
    // the token keeps sharing that string; otherwise it becomes a string of its own, so the
    // class's static token is never changed.
    if (colon == nullptr) colon = static_cast<const char*>(std::memchr(line, ':', n));
    if (colon == nullptr) KtSipParseError::sThrow("Header colon expected");
    const char* nb = line;
    const char* ne = colon;
    ktTrimRange(nb, ne);
    parseNamedLine(line, n, nb, static_cast<unsigned>(ne - nb), colon, nullptr);
}

// parseRest, inlined into the reading of a line. `wholeLine` tells that the stream's window
// holds all there is (the line read in place), so that no refill is asked for at its end.
__attribute__((always_inline)) inline void KtSipHeader::readValues(KtInputStream& in, bool wholeLine,
                                                                  KtSipHeader* (*elementConstructor)()) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipHeader::parseRest");
    // Each comma-separated element becomes a new header of the same class appended to the
    // chain; the loop keeps the chain's tail, so no recursion and no walk per element.
    KtSipHeader* tail = this;
    while (!tail->m_Next.isNil()) tail = tail->m_Next.get();
    KtSipHeader* current = this;
    // The class of the elements after the first: given, or looked up at the first comma only.
    Constructor constructor = elementConstructor;
    bool lookedUp = constructor != nullptr;
    for (;;) {
        current->doParse(in);
        // Text that doParse left before the next comma is skipped.
        int c;
        for (;;) {
            const char* p = in.current();
            const char* end = in.end();
            // A line read whole ends in its CR LF: when no more than those two bytes are left,
            // there is no comma to look for.
            if (wholeLine && end - p <= 2) {
                in.setCurrent(end);
                c = -1;
                break;
            }
            const char* comma = ktFindByte(p, end, ',');
            if (comma < end) {
                in.setCurrent(comma + 1);
                c = ',';
                break;
            }
            in.setCurrent(end);
            if (wholeLine || !in.fill()) {
                c = -1;
                break;
            }
        }
        if (c < 0) return;
        if (!lookedUp) {
            constructor = lookup(getExpandedToken().c_str());
            lookedUp = true;
        }
        KtSipHeader* next = constructor != nullptr ? constructor() : sConstruct(getExpandedToken().c_str());
        tail->m_Next = KtHandle<KtSipHeader>(next);
        tail = next;
        current = next;
    }
}

// Inlined into both callers: the usual line's reading (sConstructFrom) runs it once per line.
__attribute__((always_inline)) inline void KtSipHeader::parseNamedLine(const char* line, unsigned n, const char* name,
                                                                       unsigned nameLength, const char* colon,
                                                                       KtSipHeader* (*ownConstructor)()) {
    if (ownConstructor == nullptr &&
        (m_Token.length() != nameLength || !ktEqualBytes(m_Token.c_str(), name, nameLength)))
        m_Token = KtString(name, nameLength);

    // The value runs to the end of the line, its CR LF included.
    const unsigned valueStart = static_cast<unsigned>(colon - line) + 1;
    KtByteArrayInputStream value(line + valueStart, n + 2 - valueStart);
    readValues(value, true, ownConstructor);
}

void KtSipHeader::parseRest(KtInputStream& in) { readValues(in, false, nullptr); }

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
