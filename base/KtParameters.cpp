// Ordered parameter lists.
#include "KtParameters.h"

#include <cstring>
#include <new>

#include "KtException.h"

namespace {

inline bool isBlank(int c) { return c == ' ' || c == '\t'; }

TORVANE_POOL("KtParameters") paramPool() { return {}; }

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
KT_ALWAYS_INLINE void KtParameters::freeBlocks() noexcept {
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
KT_ALWAYS_INLINE void KtParameters::appendUnlocked(const char* name, unsigned nameLength,
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
KT_ALWAYS_INLINE void KtParameters::setUnlocked(const char* name, unsigned nameLength,
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

// Reads one pair straight from the stream's window when the pair ends inside it, which is
// the usual case (a header value is one window ending in CR LF). Returns false, having
// consumed nothing, when the pair reaches the end of the window, when a piece would not fit
// the work buffers of the general reader, or when an escape inside quotes stands in the
// name: the general reader then handles the pair. On success `stop` is the byte the pair
// ended at (left in the stream).
// Inlined into parseUnlocked, its only caller, which runs it once per pair.
KT_ALWAYS_INLINE bool KtParameters::parsePairInPlace(KtInputStream& in, bool commaEnds,
                                                                         int& stop) {
    const unsigned kMax = 1024;
    const char* const begin = in.current();
    const char* const end = in.end();
    const char* p = begin;
    const char* eq = nullptr;  // the "=" that starts the value
    bool quoted = false;
    int c = -1;
    // Bytes that need a decision, the separator among them; the others are skipped in bulk.
    // The usual ";" lists have a table with their separator; other lists test it apart.
    static const KtDelimiterSet semicolonList("\r\n\",=\\;");
    static const KtDelimiterSet special("\r\n\",=\\");
    const char separator = m_Separator;
    const bool semicolons = separator == ';';
    while (p < end) {
        if (semicolons) {
            p = semicolonList.findIn(p, end);
            if (p == end) return false;
        } else {
            while (!special.contains(static_cast<unsigned char>(*p)) && *p != separator)
                if (++p == end) return false;
        }
        c = static_cast<unsigned char>(*p);
        if (c == '\r' || c == '\n') break;
        if (!quoted && (c == m_Separator || (commaEnds && c == ','))) break;
        ++p;
        if (c == '"') quoted = !quoted;
        if (eq == nullptr && !quoted && c == '=') {
            eq = p - 1;
            continue;
        }
        if (c == '\\' && quoted) {
            if (p == end) return false;
            if (*p != '\r' && *p != '\n') {
                if (eq == nullptr) return false;  // the general reader moves it into the value
                ++p;
            }
        }
    }
    if (p == end) return false;
    const char* nb = begin;
    const char* ne = eq ? eq : p;
    const char* vb = eq ? eq + 1 : p;
    const char* ve = p;
    if (static_cast<unsigned>(ne - nb) > kMax || static_cast<unsigned>(ve - vb) > kMax) return false;
    ktTrimRange(nb, ne);
    ktTrimRange(vb, ve);
    if (ne > nb) setUnlocked(nb, static_cast<unsigned>(ne - nb), vb, static_cast<unsigned>(ve - vb), eq != nullptr);
    in.setCurrent(p);
    stop = c;
    return true;
}

void KtParameters::parseUnlocked(KtInputStream& in) {
    // A pair is read in place when it ends inside the stream's window; otherwise it is
    // collected into a bounded work buffer: name, then (after "=") value. Quoted text may
    // contain any byte but CR/LF; the quotes are kept with the value.
    const unsigned kMax = 1024;
    const bool commaEnds = m_Separator != ',';
    for (;;) {
        int c;
        if (!parsePairInPlace(in, commaEnds, c)) {
            char name[kMax];
            char value[kMax];
            unsigned nameLen = 0, valueLen = 0;
            bool inValue = false, quoted = false;
            for (;;) {
                c = in.peek();
                if (c < 0 || c == '\r' || c == '\n') break;
                if (!quoted && (c == m_Separator || (commaEnds && c == ','))) break;
                in.advance(1);
                if (c == '"') quoted = !quoted;
                if (!inValue && !quoted && c == '=') {
                    inValue = true;
                    continue;
                }
                if (c == '\\' && quoted) {
                    // Keep an escaped byte inside a quoted value as it stands.
                    int next = in.peek();
                    if (next >= 0 && next != '\r' && next != '\n') {
                        if (valueLen + 2 > kMax) KtException::sThrow("Parameter too long");
                        value[valueLen++] = '\\';
                        value[valueLen++] = static_cast<char>(next);
                        in.advance(1);
                        continue;
                    }
                }
                if (inValue) {
                    if (valueLen + 1 > kMax) KtException::sThrow("Parameter too long");
                    value[valueLen++] = static_cast<char>(c);
                } else {
                    if (nameLen + 1 > kMax) KtException::sThrow("Parameter too long");
                    name[nameLen++] = static_cast<char>(c);
                }
            }
            const char* nb = name;
            const char* ne = name + nameLen;
            ktTrimRange(nb, ne);
            const char* vb = value;
            const char* ve = value + valueLen;
            ktTrimRange(vb, ve);
            if (ne > nb)
                setUnlocked(nb, static_cast<unsigned>(ne - nb), vb, static_cast<unsigned>(ve - vb), inValue);
        }
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

void KtParameters::parseUnshared(KtInputStream& in) {
    unshared([&] { parseUnlocked(in); });
}

void KtParameters::setValueUnshared(const char* name, const char* value) {
    if (name == nullptr) return;
    setValueUnshared(name, static_cast<unsigned>(std::strlen(name)), value,
                     value ? static_cast<unsigned>(std::strlen(value)) : 0, value != nullptr);
}

void KtParameters::reserveUnshared(unsigned pairs, unsigned textBytes) {
    // Bounded, so that an estimate from a large input cannot ask for a huge block.
    const unsigned kMaxPairs = 256, kMaxText = 1u << 16;
    if (pairs > kMaxPairs) pairs = kMaxPairs;
    if (textBytes > kMaxText) textBytes = kMaxText;
    unshared([&] {
        if (m_Size + pairs > m_Capacity) growPairs(m_Size + pairs);
        reserveText(textBytes + 2 * pairs);
    });
}

void KtParameters::setValueUnshared(const char* name, unsigned nameLength, const char* value, unsigned valueLength,
                                    bool hasValue) {
    unshared([&] { setUnlocked(name, nameLength, value, valueLength, hasValue); });
}

void KtParameters::clearUnshared() {
    unshared([&] { clearPairs(); });
}

bool KtParameters::hasNameUnshared(const char* name) const {
    return unshared([&] { return findUnlocked(name) >= 0; });
}

KtString KtParameters::getValueUnshared(const char* name) const {
    return unshared([&] {
        int i = findUnlocked(name);
        return i < 0 ? KtString() : valueString(m_pPairs[static_cast<unsigned>(i)]);
    });
}

bool KtParameters::removeValueUnshared(const char* name) {
    return unshared([&] { return removeUnlocked(name); });
}

unsigned KtParameters::sizeUnshared() const {
    return m_Size;  // an atomic read, as in size()
}

void KtParameters::parse(const char* text) {
    if (text == nullptr) return;
    KtByteArrayInputStream in(text, static_cast<unsigned>(std::strlen(text)));
    KtMutexGuard lock(mutex());
    parseUnlocked(in);
}

// Inlined into the writers (serialize, serializeWithLead, getString).
KT_ALWAYS_INLINE void KtParameters::serializeUnlocked(KtOutputStream& out) const {
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
