// Ordered parameter lists.
#include "KtParameters.h"

#include <cstring>
#include <new>

#include "KtException.h"

namespace {

inline bool isBlank(int c) { return c == ' ' || c == '\t'; }

Torvane::KnownPool<Torvane::pooldetail::knownIndex("KtParameters")> paramPool() { return {}; }

}  // namespace

KtParameters::KtParameters(char separator)
    : m_pPairs(m_InlinePairs),
      m_Size(0),
      m_Capacity(kInlinePairs),
      m_pText(m_InlineText),
      m_TextSize(0),
      m_TextCapacity(kInlineText),
      m_Separator(separator) {}

KtParameters::KtParameters(const KtParameters& other) : KtParameters(other.m_Separator) {
    KtMutexGuard lock(other.mutex());
    // Only the live texts are copied, so the copy starts without dead bytes.
    for (unsigned i = 0; i < other.m_Size; ++i) {
        const Pair& p = other.m_pPairs[i];
        appendUnlocked(other.nameOf(p), p.nameLength, other.valueOf(p), p.valueLength, p.hasValue);
    }
}

KtParameters::~KtParameters() {
    freeBlocks();
}

KtParameters* KtParameters::clone() const { return new KtParameters(*this); }

KtParameters* KtParameters::sNewSemicolonList() { return new KtParameters(';'); }

KtHandle<KtParameters> KtParameters::sCloneOf(const KtParameters* list) {
    return list != nullptr ? KtHandle<KtParameters>(list->clone()) : KtHandle<KtParameters>();
}

KtString KtParameters::sValueIn(const KtParameters* list, const char* name) {
    return list != nullptr ? list->getValue(name) : KtString();
}

// Inlined into the destructor, its only caller.
__attribute__((always_inline)) inline void KtParameters::freeBlocks() noexcept {
    if (m_pPairs != m_InlinePairs) paramPool().deallocateSized(m_pPairs, m_Capacity * sizeof(Pair));
    if (m_pText != m_InlineText) paramPool().deallocateSized(m_pText, m_TextCapacity);
}

// Makes room for `extra` more bytes of text. A new buffer receives only the live texts, so
// the dead bytes of replaced values and removed pairs go at each growth.
inline void KtParameters::reserveText(unsigned extra) {
    if (extra > m_TextCapacity - m_TextSize) growText(extra);
}

void KtParameters::growText(unsigned extra) {
    unsigned live = 0;
    for (unsigned i = 0; i < m_Size; ++i) {
        const Pair& p = m_pPairs[i];
        live += p.nameLength + 1 + (p.hasValue ? p.valueLength + 1 : 0);
    }
    const unsigned long long needed = static_cast<unsigned long long>(live) + extra;
    if (needed > 0x7fffffffull) throw std::bad_alloc();  // offsets are 32-bit
    unsigned capacity = m_TextCapacity;
    while (capacity < needed) capacity *= 2;
    char* text = static_cast<char*>(paramPool().allocateSized(capacity));
    unsigned size = 0;
    for (unsigned i = 0; i < m_Size; ++i) {
        Pair& p = m_pPairs[i];
        std::memcpy(text + size, nameOf(p), p.nameLength + 1);
        p.nameOffset = size;
        size += p.nameLength + 1;
        if (p.hasValue) {
            std::memcpy(text + size, valueOf(p), p.valueLength + 1);
            p.valueOffset = size;
            size += p.valueLength + 1;
        }
    }
    if (m_pText != m_InlineText) paramPool().deallocateSized(m_pText, m_TextCapacity);
    m_pText = text;
    m_TextSize = size;
    m_TextCapacity = capacity;
}

// Appends `length` bytes of `text` and a NUL; returns their offset. Room must be reserved.
inline unsigned KtParameters::storeText(const char* text, unsigned length) {
    const unsigned offset = m_TextSize;
    ktCopyBytes(m_pText + offset, text, length);
    m_pText[offset + length] = '\0';
    m_TextSize += length + 1;
    return offset;
}

// Doubles the room for pairs (the inline array first, then pool blocks), or more to hold
// `atLeast` pairs.
void KtParameters::growPairs(unsigned atLeast) {
    unsigned capacity = m_Capacity * 2;
    while (capacity < atLeast) capacity *= 2;
    Pair* pairs = static_cast<Pair*>(paramPool().allocateSized(capacity * sizeof(Pair)));
    std::memcpy(pairs, m_pPairs, m_Size * sizeof(Pair));
    if (m_pPairs != m_InlinePairs) paramPool().deallocateSized(m_pPairs, m_Capacity * sizeof(Pair));
    m_pPairs = pairs;
    m_Capacity = capacity;
}

void KtParameters::erasePair(unsigned i) {
    std::memmove(m_pPairs + i, m_pPairs + i + 1, (m_Size - i - 1) * sizeof(Pair));
    --m_Size;
}

void KtParameters::clearPairs() noexcept {
    m_Size = 0;
    m_TextSize = 0;
}

int KtParameters::findUnlocked(const char* name) const {
    if (name == nullptr) return -1;
    // The test of strcmp(stored, name) == 0 without a call per pair: a stored name (kept
    // NUL-terminated, and possibly holding a NUL of its own) equals `name` as a C string when
    // it is at least as long, has a NUL right after that many bytes and starts with them.
    const unsigned length = static_cast<unsigned>(std::strlen(name));
    for (unsigned i = 0; i < m_Size; ++i) {
        const Pair& p = m_pPairs[i];
        const char* stored = nameOf(p);
        if (p.nameLength >= length && stored[length] == '\0' && ktEqualBytes(stored, name, length))
            return static_cast<int>(i);
    }
    return -1;
}

bool KtParameters::removeUnlocked(const char* name) {
    int i = findUnlocked(name);
    if (i < 0) return false;
    erasePair(static_cast<unsigned>(i));
    return true;
}

// Inlined: the readers append nearly every pair they store.
__attribute__((always_inline)) inline void KtParameters::appendUnlocked(const char* name, unsigned nameLength,
                                                                        const char* value, unsigned valueLength,
                                                                        bool hasValue) {
    reserveText(nameLength + 1 + (hasValue ? valueLength + 1 : 0));
    if (m_Size == m_Capacity) growPairs();
    Pair& pair = m_pPairs[m_Size];
    pair.nameOffset = storeText(name, nameLength);
    pair.nameLength = nameLength;
    pair.hasValue = hasValue;
    pair.valueOffset = hasValue ? storeText(value, valueLength) : 0;
    pair.valueLength = hasValue ? valueLength : 0;
    m_Size++;
}

// Inlined into its callers: the readers store every pair through it.
__attribute__((always_inline)) inline void KtParameters::setUnlocked(const char* name, unsigned nameLength,
                                                                     const char* value, unsigned valueLength,
                                                                     bool hasValue) {
    for (unsigned i = 0; i < m_Size; ++i) {
        Pair& p = m_pPairs[i];
        if (p.nameLength != nameLength || !ktEqualBytes(nameOf(p), name, nameLength)) continue;
        if (hasValue && p.hasValue && valueLength <= p.valueLength) {
            // The new value fits where the old one was.
            std::memcpy(m_pText + p.valueOffset, value, valueLength);
            m_pText[p.valueOffset + valueLength] = '\0';
        } else if (hasValue) {
            reserveText(valueLength + 1);  // may move the texts, not the pairs
            p.valueOffset = storeText(value, valueLength);
        } else {
            p.valueOffset = 0;
        }
        p.hasValue = hasValue;
        p.valueLength = hasValue ? valueLength : 0;
        return;
    }
    appendUnlocked(name, nameLength, value, valueLength, hasValue);
}

namespace {

// The longest name, and the longest value, of a pair (longer ones are refused).
constexpr unsigned kPairMax = 1024;

}  // namespace

// The reading of one pair, over its text given from its first byte. Offsets count from there.
struct KtParameters::PairScan {
    unsigned pos = 0;  // bytes read
    unsigned nameLength = 0;
    unsigned valueLength = 0;
    int equals = -1;           // offset of the "=" that starts the value
    bool quoted = false;
    bool nameEscapes = false;  // an escape pair stood in the name (it is moved into the value)
};

enum class KtParameters::PairEnd : unsigned char { Stopped, NeedMore, TooLong };

// The pair grammar, over `length` bytes of `text` from `scan.pos` on; `atEnd` tells that no
// byte follows them. A pair ends, unread, at CR, LF, the end of the input and, outside
// quotes, at the separator or (when `commaEnds`) at ","; its first "=" outside quotes starts
// the value. Quotes are kept; inside them a backslash and the byte after it (not CR or LF)
// go together into the value, even from the name. Name and value hold at most kPairMax
// bytes: the byte that would pass that is read and TooLong returned. NeedMore is returned
// when the text ends before the pair does (a backslash then stays unread). Without `Count`
// the lengths are not kept (nor TooLong told): the usual pair is read at that cost, and
// tellsLengths says whether its positions give them. With `Store` (and `Count`), the name
// and value are copied to `name` and `value` (used when an escape stood in the name).
template <bool Count, bool Store>
__attribute__((always_inline)) inline KtParameters::PairEnd KtParameters::scanPair(const char* text, unsigned length, bool atEnd,
                                                                    bool commaEnds, PairScan& scan, int& stop,
                                                                    char* name, char* value) const {
    // Bytes that need a decision, the separator among them; the others are taken in bulk.
    // The usual ";" lists have a table with their separator; other lists test it apart.
    static const KtDelimiterSet semicolonList("\r\n\",=\\;");
    static const KtDelimiterSet special("\r\n\",=\\");
    const char separator = m_Separator;
    const bool semicolons = separator == ';';
    const char* const end = text + length;
    // The reading state stays in registers while the loop runs and is kept in `scan` on
    // the way out.
    const char* p = text + scan.pos;
    const char* equals = scan.equals < 0 ? nullptr : text + scan.equals;
    bool quoted = scan.quoted;
    const auto leave = [&](const char* at, PairEnd how) {
        scan.pos = static_cast<unsigned>(at - text);
        scan.equals = equals ? static_cast<int>(equals - text) : -1;
        scan.quoted = quoted;
        return how;
    };
    while (p < end) {
        const char* q = p;
        if (semicolons) {
            q = semicolonList.findIn(p, end);
        } else {
            while (q < end && !special.contains(static_cast<unsigned char>(*q)) && *q != separator) ++q;
        }
        if (Count) {
            const unsigned plain = static_cast<unsigned>(q - p);
            unsigned& count = equals ? scan.valueLength : scan.nameLength;
            if (count + plain > kPairMax) return leave(p + (kPairMax - count + 1), PairEnd::TooLong);
            if (Store) std::memcpy((equals ? value : name) + count, p, plain);
            count += plain;
        }
        p = q;
        if (p == end) break;
        const int c = static_cast<unsigned char>(*p);
        if (c == '\r' || c == '\n' || (!quoted && (c == separator || (commaEnds && c == ',')))) {
            stop = c;
            return leave(p, PairEnd::Stopped);
        }
        if (c == '"') quoted = !quoted;
        if (!equals && !quoted && c == '=') {
            equals = p++;
            continue;
        }
        if (c == '\\' && quoted) {
            if (p + 1 == end && !atEnd) return leave(p, PairEnd::NeedMore);
            const int next = p + 1 < end ? static_cast<unsigned char>(p[1]) : -1;
            if (next >= 0 && next != '\r' && next != '\n') {
                if (Count) {
                    if (scan.valueLength + 2 > kPairMax) return leave(p + 1, PairEnd::TooLong);
                    if (Store) std::memcpy(value + scan.valueLength, p, 2);
                    scan.valueLength += 2;
                }
                if (!equals) scan.nameEscapes = true;
                p += 2;
                continue;
            }
        }
        if (Count) {
            unsigned& into = equals ? scan.valueLength : scan.nameLength;
            if (into + 1 > kPairMax) return leave(p + 1, PairEnd::TooLong);
            if (Store) (equals ? value : name)[into] = static_cast<char>(c);
            ++into;
        }
        ++p;
    }
    if (!atEnd) return leave(p, PairEnd::NeedMore);
    stop = -1;
    return leave(p, PairEnd::Stopped);
}

// Stores the pair read by `scan` from `text`: name and value trimmed, no pair for an empty
// name.
__attribute__((always_inline)) inline void KtParameters::storePair(const char* text, const PairScan& scan,
                                                                  bool commaEnds) {
    if (scan.nameEscapes) {
        storeEscapedPair(text, scan.pos, commaEnds);
        return;
    }
    const char* nb = text;
    const char* ne = text + (scan.equals < 0 ? scan.pos : static_cast<unsigned>(scan.equals));
    const char* vb = scan.equals < 0 ? ne : text + scan.equals + 1;
    const char* ve = text + scan.pos;
    ktTrimRange(nb, ne);
    ktTrimRange(vb, ve);
    if (ne > nb) setUnlocked(nb, static_cast<unsigned>(ne - nb), vb, static_cast<unsigned>(ve - vb), scan.equals >= 0);
}

// As storePair for a pair whose name held an escape pair: the name loses it to the value, so
// the pair's `length` bytes are read again, copying name and value apart.
__attribute__((noinline)) void KtParameters::storeEscapedPair(const char* text, unsigned length, bool commaEnds) {
    char name[kPairMax];
    char value[kPairMax];
    PairScan scan;
    int stop;
    scanPair<true, true>(text, length, true, commaEnds, scan, stop, name, value);
    const char* nb = name;
    const char* ne = name + scan.nameLength;
    const char* vb = value;
    const char* ve = value + scan.valueLength;
    ktTrimRange(nb, ne);
    ktTrimRange(vb, ve);
    if (ne > nb) setUnlocked(nb, static_cast<unsigned>(ne - nb), vb, static_cast<unsigned>(ve - vb), scan.equals >= 0);
}

// True when a pair read without counting ended within the limits and with no escape in its
// name: its name and value are then the bytes before and after its "=", as counted.
inline bool KtParameters::tellsLengths(const PairScan& scan) {
    if (scan.nameEscapes) return false;
    if (scan.pos <= kPairMax) return true;  // the usual pair: both parts are shorter
    if (scan.equals < 0) return false;
    return static_cast<unsigned>(scan.equals) <= kPairMax && scan.pos - scan.equals - 1 <= kPairMax;
}

// Reads one pair from `in` and returns the byte it ended at (left in the stream), or -1 at
// the end of the input. The usual pair ends inside the stream's window and is read where it
// stands; any other (crossing the window, too long, an escape in its name) is read again
// by countPair.
__attribute__((always_inline)) inline int KtParameters::readPair(KtInputStream& in, bool commaEnds) {
    PairScan scan;
    int stop = -1;
    const char* window = in.current();
    const unsigned available = static_cast<unsigned>(in.end() - window);
    if (scanPair<false, false>(window, available, false, commaEnds, scan, stop, nullptr, nullptr) != PairEnd::Stopped ||
        !tellsLengths(scan))
        return countPair(in);
    storePair(window, scan, commaEnds);
    in.setCurrent(window + scan.pos);
    return stop;
}

// readPair counting the lengths: a pair that ends inside the window is read there; otherwise
// its text is gathered window by window into a buffer that holds the longest pair, and read
// there by the same grammar.
__attribute__((noinline)) int KtParameters::countPair(KtInputStream& in) {
    const bool commaEnds = m_Separator != ',';
    PairScan scan;
    int stop = -1;
    const char* window = in.current();
    unsigned available = static_cast<unsigned>(in.end() - window);
    PairEnd result = scanPair<true, false>(window, available, false, commaEnds, scan, stop, nullptr, nullptr);
    if (result == PairEnd::Stopped) {
        storePair(window, scan, commaEnds);
        in.setCurrent(window + scan.pos);
        return stop;
    }
    // Room for every byte the grammar can read before it stops or refuses the pair: a name,
    // "=", a value, and the bytes that end them.
    char text[2 * kPairMax + 4];
    unsigned gathered = 0;  // bytes of the pair from earlier windows
    for (;;) {
        if (result == PairEnd::TooLong) {
            in.setCurrent(window + (scan.pos - gathered));
            KtException::sThrow("Parameter too long");
        }
        if (result == PairEnd::Stopped) {
            storePair(text, scan, commaEnds);
            in.setCurrent(window + (scan.pos - gathered));
            return stop;
        }
        // The window ended first: keep its bytes and read on in the next one.
        if (available > sizeof text - gathered) available = static_cast<unsigned>(sizeof text - gathered);
        std::memcpy(text + gathered, window, available);
        gathered += available;
        in.setCurrent(window + available);
        if (!in.fill()) {
            window = in.current();
            result = scanPair<true, false>(text, gathered, true, commaEnds, scan, stop, nullptr, nullptr);
            continue;  // the pair ends with the input (pos is then `gathered`)
        }
        window = in.current();
        available = static_cast<unsigned>(in.end() - window);
        const unsigned room = static_cast<unsigned>(sizeof text - gathered);
        const unsigned taken = available < room ? available : room;
        std::memcpy(text + gathered, window, taken);
        result = scanPair<true, false>(text, gathered + taken, false, commaEnds, scan, stop, nullptr, nullptr);
        if (result == PairEnd::NeedMore) available = taken;  // every byte of this window was read
    }
}

void KtParameters::parseUnlocked(KtInputStream& in) {
    const bool commaEnds = m_Separator != ',';
    for (;;) {
        const int c = readPair(in, commaEnds);
        if (c == m_Separator) {
            in.advance(1);
            while (isBlank(in.peek())) in.advance(1);
            continue;
        }
        return;  // end of input, line end, or a comma that ends the list
    }
}

void KtParameters::parse(KtInputStream& in) {
    KtMutexGuard lock(mutex());
    parseUnlocked(in);
}

void KtParameters::parse(KtInputStream& in, Owner) {
    unshared([&] { parseUnlocked(in); });
}

void KtParameters::setValue(const char* name, const char* value, Owner) {
    if (name == nullptr) return;
    setValue(name, static_cast<unsigned>(std::strlen(name)), value, value ? static_cast<unsigned>(std::strlen(value)) : 0,
             value != nullptr, sOwner);
}

void KtParameters::reserve(unsigned pairs, unsigned textBytes, Owner) {
    // Bounded, so that an estimate from a large input cannot ask for a huge block.
    const unsigned kMaxPairs = 256, kMaxText = 1u << 16;
    if (pairs > kMaxPairs) pairs = kMaxPairs;
    if (textBytes > kMaxText) textBytes = kMaxText;
    unshared([&] {
        if (m_Size + pairs > m_Capacity) growPairs(m_Size + pairs);
        reserveText(textBytes + 2 * pairs);
    });
}

void KtParameters::setValue(const char* name, unsigned nameLength, const char* value, unsigned valueLength, bool hasValue,
                            Owner) {
    unshared([&] { setUnlocked(name, nameLength, value, valueLength, hasValue); });
}

void KtParameters::clear(Owner) {
    unshared([&] { clearPairs(); });
}

bool KtParameters::hasName(const char* name, Owner) const {
    return unshared([&] { return findUnlocked(name) >= 0; });
}

KtString KtParameters::getValue(const char* name, Owner) const {
    return unshared([&] {
        int i = findUnlocked(name);
        return i < 0 ? KtString() : valueString(m_pPairs[static_cast<unsigned>(i)]);
    });
}

bool KtParameters::removeValue(const char* name, Owner) {
    return unshared([&] { return removeUnlocked(name); });
}

unsigned KtParameters::size(Owner) const {
    return m_Size;  // an atomic read, as in size()
}

void KtParameters::parse(const char* text) {
    if (text == nullptr) return;
    KtByteArrayInputStream in(text, static_cast<unsigned>(std::strlen(text)));
    KtMutexGuard lock(mutex());
    parseUnlocked(in);
}

// Inlined into the writers (serialize, serializeWithLead, getString).
__attribute__((always_inline)) inline void KtParameters::serializeUnlocked(KtOutputStream& out) const {
    for (unsigned i = 0; i < m_Size; ++i) {
        const Pair& p = m_pPairs[i];
        if (i) out.put(m_Separator);
        out.write(nameOf(p), p.nameLength);
        if (p.hasValue) {
            out.put('=');
            out.write(valueOf(p), p.valueLength);
        }
    }
}

void KtParameters::serialize(KtOutputStream& out) const {
    KtMutexGuard lock(mutex());
    serializeUnlocked(out);
}

void KtParameters::serializeWithLead(KtOutputStream& out, char lead) const {
    if (m_Size == 0) return;  // told without the mutex (see size())
    KtMutexGuard lock(mutex());
    if (m_Size == 0) return;
    out.put(lead);
    serializeUnlocked(out);
}

KtString KtParameters::getString() const {
    KtByteArrayOutputStream out(128);
    {
        KtMutexGuard lock(mutex());
        serializeUnlocked(out);
    }
    return KtString(out.data(), out.size());
}

KtString KtParameters::getValue(const char* name) const {
    KtMutexGuard lock(mutex());
    int i = findUnlocked(name);
    return i < 0 ? KtString() : valueString(m_pPairs[static_cast<unsigned>(i)]);
}

bool KtParameters::hasName(const char* name) const {
    KtMutexGuard lock(mutex());
    return findUnlocked(name) >= 0;
}

void KtParameters::setValue(const char* name, const char* value) {
    if (name == nullptr) return;
    KtMutexGuard lock(mutex());
    setUnlocked(name, static_cast<unsigned>(std::strlen(name)), value,
                value ? static_cast<unsigned>(std::strlen(value)) : 0, value != nullptr);
}

bool KtParameters::removeValue(const char* name) {
    KtMutexGuard lock(mutex());
    return removeUnlocked(name);
}

void KtParameters::clear() {
    KtMutexGuard lock(mutex());
    clearPairs();
}

unsigned KtParameters::size() const {
    // One atomic read: the count at some instant between the calls of other threads.
    return m_Size;
}

void KtParameters::Reader::writeValue(KtOutputStream& out, const char* name) const {
    const int i = m_List.findUnlocked(name);
    if (i >= 0) writeValueAt(out, static_cast<unsigned>(i));
}

void KtParameters::Reader::writeNameAt(KtOutputStream& out, unsigned i) const {
    const Pair& p = m_List.m_pPairs[i];
    out.write(m_List.nameOf(p), p.nameLength);
}

void KtParameters::Reader::writeValueAt(KtOutputStream& out, unsigned i) const {
    const Pair& p = m_List.m_pPairs[i];
    if (p.hasValue) out.write(m_List.valueOf(p), p.valueLength);
}

KtString KtParameters::getName(unsigned i) const {
    KtMutexGuard lock(mutex());
    return i < m_Size ? KtString(nameOf(m_pPairs[i]), m_pPairs[i].nameLength) : KtString();
}

KtString KtParameters::getValueAt(unsigned i) const {
    KtMutexGuard lock(mutex());
    return i < m_Size ? valueString(m_pPairs[i]) : KtString();
}
