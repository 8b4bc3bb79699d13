// Strings: the reference-counted byte string KtStringBuffer, its handle KtString
// (copy on write), the light value KtConstString, and delimiter tables.
#ifndef KTSIP_KT_STRING_H
#define KTSIP_KT_STRING_H

#include <cstring>
#include <iosfwd>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "KtHandle.h"
#include "TorvaneMemAllocator.h"

class KtInputStream;
class KtOutputStream;
class KtString;

/// Copies `n` bytes between buffers that do not overlap. Texts of a message are short
/// (names, tokens, separators): up to 16 bytes are moved inline by two overlapping loads and
/// stores, which beats a call of memcpy for each piece; longer ones go to memcpy.
inline void ktCopyBytes(char* to, const char* from, unsigned n) noexcept {
    if (n > 16) {
        std::memcpy(to, from, n);
    } else if (n >= 8) {
        unsigned long long a, b;
        std::memcpy(&a, from, 8);
        std::memcpy(&b, from + n - 8, 8);
        std::memcpy(to, &a, 8);
        std::memcpy(to + n - 8, &b, 8);
    } else if (n >= 4) {
        unsigned a, b;
        std::memcpy(&a, from, 4);
        std::memcpy(&b, from + n - 4, 4);
        std::memcpy(to, &a, 4);
        std::memcpy(to + n - 4, &b, 4);
    } else if (n > 0) {
        to[0] = from[0];
        to[n / 2] = from[n / 2];
        to[n - 1] = from[n - 1];
    }
}

/// True when the `n` bytes at `a` and `b` are equal. As ktCopyBytes, short texts (names and
/// tokens) are compared inline by overlapping loads, never reading outside either range;
/// longer ones go to memcmp.
inline bool ktEqualBytes(const char* a, const char* b, unsigned n) noexcept {
    if (n > 16) return std::memcmp(a, b, n) == 0;
    if (n >= 8) {
        unsigned long long a0, a1, b0, b1;
        std::memcpy(&a0, a, 8);
        std::memcpy(&a1, a + n - 8, 8);
        std::memcpy(&b0, b, 8);
        std::memcpy(&b1, b + n - 8, 8);
        return ((a0 ^ b0) | (a1 ^ b1)) == 0;
    }
    if (n >= 4) {
        unsigned a0, a1, b0, b1;
        std::memcpy(&a0, a, 4);
        std::memcpy(&a1, a + n - 4, 4);
        std::memcpy(&b0, b, 4);
        std::memcpy(&b1, b + n - 4, 4);
        return ((a0 ^ b0) | (a1 ^ b1)) == 0;
    }
    for (unsigned i = 0; i < n; ++i)
        if (a[i] != b[i]) return false;
    return true;
}

#if defined(__SSE2__)
/// The bits of the sixteen bytes at `p` that equal a byte of `va` or of `vb` (all lanes the
/// same byte), as a 16-bit mask.
inline unsigned ktEitherMask(const char* p, __m128i va, __m128i vb) noexcept {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb))));
}
#endif

/// The first byte of [p, end) equal to `a` or `b`, or `end`. Inline, sixteen bytes a step
/// where SSE2 is there: header lines and values are short, and a call of memchr per line
/// costs more than the scan.
inline const char* ktFindEither(const char* p, const char* end, char a, char b) noexcept {
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(a);
    const __m128i vb = _mm_set1_epi8(b);
    for (; end - p >= 16; p += 16)
        if (const unsigned mask = ktEitherMask(p, va, vb)) return p + __builtin_ctz(mask);
#endif
    while (p < end && *p != a && *p != b) ++p;
    return p;
}

/// As ktFindEither, thirty-two bytes a step while that many are left: for scans that usually
/// run well past sixteen bytes (a header line's end), where it takes fewer instructions.
inline const char* ktFindEitherLong(const char* p, const char* end, char a, char b) noexcept {
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(a);
    const __m128i vb = _mm_set1_epi8(b);
    for (; end - p >= 32; p += 32)
        if (const unsigned mask = ktEitherMask(p, va, vb) | ktEitherMask(p + 16, va, vb) << 16)
            return p + __builtin_ctz(mask);
#endif
    return ktFindEither(p, end, a, b);
}

/// The first byte of [p, end) equal to `c`, or `end` (ktFindEither with one byte).
inline const char* ktFindByte(const char* p, const char* end, char c) noexcept { return ktFindEither(p, end, c, c); }

/// True for the white space of message text: space, tab, CR, LF.
inline bool ktIsWhite(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/// Narrows [begin, end) to leave out white space (ktIsWhite) at both ends.
inline void ktTrimRange(const char*& begin, const char*& end) noexcept {
    while (begin < end && ktIsWhite(*begin)) ++begin;
    while (end > begin && ktIsWhite(end[-1])) --end;
}

/// A set of delimiter bytes as a table of 256 flags: membership is one byte load, which the
/// scanning loops of the parsers run once per input byte. Sets that hold none of the usual
/// word bytes (ASCII letters, digits, "." and "-") are searched sixteen bytes a step where
/// SSE2 is there: a run of word bytes cannot hold a delimiter, so it is passed over whole;
/// sets that hold all of them are skipped over the same way.
class KtDelimiterSet {
public:
    /// The set of the bytes of `chars` (NUL-terminated). A null pointer gives the empty set.
    /// The constructors are constexpr, so that the sets the readers keep in function-local
    /// statics are built at compile time and read without an initialisation guard.
    constexpr explicit KtDelimiterSet(const char* chars) noexcept : m_Flags{} {
        if (chars)
            for (const char* p = chars; *p; ++p) add(static_cast<unsigned char>(*p));
    }
    /// The set of the first `count` bytes of `chars` (may include NUL).
    constexpr KtDelimiterSet(const char* chars, unsigned count) noexcept : m_Flags{} {
        for (unsigned i = 0; i < count; ++i) add(static_cast<unsigned char>(chars[i]));
    }
    /// The set of every byte not in `set`: the stops of a reader that takes the bytes of `set`.
    static constexpr KtDelimiterSet sComplementOf(const KtDelimiterSet& set) noexcept {
        KtDelimiterSet complement(nullptr);
        for (unsigned c = 0; c < 256; ++c)
            if (!set.contains(static_cast<unsigned char>(c))) complement.add(static_cast<unsigned char>(c));
        return complement;
    }
    /// True when byte `c` is in the set.
    constexpr bool contains(unsigned char c) const noexcept { return m_Flags[c] != 0; }
    /// Adds byte `c`.
    constexpr void add(unsigned char c) noexcept {
        if (m_Flags[c]) return;
        m_Flags[c] = 1;
        if (sIsWordByte(c)) ++m_WordBytes;
    }
    /// The first byte of [p, end) in the set, or `end`: the scanning loop of the readers.
    const char* findIn(const char* p, const char* end) const noexcept { return scan<true>(p, end); }
    /// The first byte of [p, end) outside the set, or `end`.
    const char* skipIn(const char* p, const char* end) const noexcept { return scan<false>(p, end); }

    /// True for the word bytes: ASCII letters and digits, "." and "-".
    static constexpr bool sIsWordByte(unsigned char c) noexcept {
        const unsigned char lower = c | 0x20;
        return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-';
    }

private:
    // The first byte of [p, end) whose membership is `In`. When no word byte has that
    // membership, runs of word bytes are passed over sixteen at a time.
    template <bool In>
    const char* scan(const char* p, const char* end) const noexcept {
#if defined(__SSE2__)
        if (m_WordBytes == (In ? 0u : kWordByteCount)) {
            while (end - p >= 16) {
                const unsigned words = sWordMask16(p);
                if (words == 0xFFFFu) {
                    p += 16;
                    continue;
                }
                p += __builtin_ctz(~words);  // the first byte that is no word byte
                if (contains(static_cast<unsigned char>(*p)) == In) return p;
                ++p;
            }
        }
#endif
        // Four bytes a step, then the rest: one bounds test per four bytes.
        for (; end - p >= 4; p += 4) {
            if (contains(static_cast<unsigned char>(p[0])) == In) return p;
            if (contains(static_cast<unsigned char>(p[1])) == In) return p + 1;
            if (contains(static_cast<unsigned char>(p[2])) == In) return p + 2;
            if (contains(static_cast<unsigned char>(p[3])) == In) return p + 3;
        }
        while (p < end && contains(static_cast<unsigned char>(*p)) != In) ++p;
        return p;
    }

#if defined(__SSE2__)
    // Bit i set when p[i] is a word byte (the 16 bytes at p must be readable).
    static unsigned sWordMask16(const char* p) noexcept {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i lower = _mm_or_si128(v, _mm_set1_epi8(0x20));
        // Signed compares: bytes from 0x80 up are negative and fall outside every range.
        const __m128i letter =
            _mm_and_si128(_mm_cmpgt_epi8(lower, _mm_set1_epi8('a' - 1)), _mm_cmplt_epi8(lower, _mm_set1_epi8('z' + 1)));
        const __m128i digit =
            _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8('0' - 1)), _mm_cmplt_epi8(v, _mm_set1_epi8('9' + 1)));
        const __m128i mark = _mm_or_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('.')), _mm_cmpeq_epi8(v, _mm_set1_epi8('-')));
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(letter, digit), mark)));
    }
#endif
    static constexpr unsigned kWordByteCount = 26 + 26 + 10 + 2;

    unsigned char m_Flags[256];
    unsigned m_WordBytes = 0;  // how many word bytes the set holds
};

/// A reference-counted, growable byte string. Always NUL-terminated; may hold NUL bytes.
class KtStringBuffer : public KtObject {
    TORVANE_POOLED_OBJECT("KtString")
public:
    /// A new buffer holding `text` (`length` 0 means up to its NUL; null gives an empty
    /// string), with room for at least `capacity` bytes.
    static KtStringBuffer* sCreate(const char* text, unsigned length = 0, unsigned capacity = 0);

    KtStringBuffer() noexcept : m_pData(m_Inline), m_Length(0), m_Capacity(INLINE_CAPACITY) { m_Inline[0] = '\0'; }
    explicit KtStringBuffer(const char* text);
    /// Inline for the usual short text, which goes straight into the inline bytes.
    KtStringBuffer(const char* text, unsigned length) : KtStringBuffer() {
        if (length <= INLINE_CAPACITY && text != nullptr) {
            ktCopyBytes(m_Inline, text, length);
            m_Inline[length] = '\0';
            m_Length = length;
        } else {
            assign(text, length);
        }
    }
    KtStringBuffer(const KtStringBuffer& other);
    ~KtStringBuffer() override;
    KtStringBuffer& operator=(const KtStringBuffer&) = delete;

    KtStringBuffer* clone() const override;
    using KtObject::compareWith;
    unsigned hashCode() const override;
    void display(KtOutputStream& out, bool verbose) const override;

    /// The text, NUL-terminated.
    const char* c_str() const noexcept { return m_pData; }
    /// Writable access to the bytes (length() of them plus the NUL).
    char* data() noexcept { return m_pData; }
    /// Number of bytes.
    unsigned length() const noexcept { return m_Length; }
    /// True when the string holds no byte.
    bool empty() const noexcept { return m_Length == 0; }
    /// Bytes that fit without growing.
    unsigned capacity() const noexcept { return m_Capacity; }

    /// Replaces the content with `text` (null gives the empty string).
    void assign(const char* text);
    /// Replaces the content with `length` bytes of `text`.
    void assign(const char* text, unsigned length);
    /// Appends `length` bytes of `text`.
    void append(const char* text, unsigned length);
    /// Appends a NUL-terminated text (null appends nothing).
    void append(const char* text);
    /// Appends the content of another buffer (null appends nothing).
    void append(const KtStringBuffer* other);
    /// Appends one byte.
    void append(char c) {
        if (m_Length + 1 > m_Capacity) grow(m_Length + 1);
        m_pData[m_Length++] = c;
        m_pData[m_Length] = '\0';
    }
    /// Removes every byte.
    void clear() noexcept {
        m_Length = 0;
        m_pData[0] = '\0';
    }
    /// Makes room for `capacity` bytes.
    void reserve(unsigned capacity) {
        if (capacity > m_Capacity) grow(capacity);
    }

    /// Exact comparison with `text` (null counts as empty); 0 when equal.
    int compareWith(const char* text) const noexcept;
    /// Comparison ignoring ASCII case; 0 when equal.
    int compareNoCase(const char* text) const noexcept;
    /// Position of the first occurrence of `text` at or after `from`, or -1.
    int indexOf(const char* text, int from = 0) const noexcept;
    /// A new string of at most `length` bytes starting at `from` (empty when `from` is past the end).
    KtString substr(unsigned from, unsigned length) const;

    /// Converts ASCII letters to lower case in place.
    void toLower() noexcept;
    /// Converts ASCII letters to upper case in place.
    void toUpper() noexcept;
    /// Removes leading and trailing white space (space, tab, CR, LF).
    void trim() noexcept;

    /// Direct writing: returns a buffer of at least `size` bytes (plus room for the NUL);
    /// the content up to the current length is kept.
    char* lockBuffer(unsigned size);
    /// Ends direct writing: the string is the first `length` bytes of the buffer.
    void releaseBuffer(unsigned length) noexcept;

    /// Replaces the content with the bytes read from `in` up to (not including) the first
    /// delimiter or the end of the input. Spaces and tabs in front of the text are skipped
    /// first. The delimiter stays in the stream. Returns false when the input was already
    /// at its end (the string is then empty).
    bool parse(KtInputStream& in, const KtDelimiterSet& delimiters);
    /// As above with the delimiters given as a NUL-terminated text.
    bool parse(KtInputStream& in, const char* delimiters);
    /// Replaces the content with the next `count` bytes of `in` (fewer at the end of the input).
    void read(KtInputStream& in, unsigned count);

private:
    static constexpr unsigned INLINE_CAPACITY = 63;
    void grow(unsigned needed);
    char* m_pData;
    unsigned m_Length;
    unsigned m_Capacity;
    char m_Inline[INLINE_CAPACITY + 1];
};

/// A handle to a KtStringBuffer. Copies share the buffer; the mutating members of
/// KtString copy a shared buffer first (copy on write). A nil KtString reads as "".
class KtString : public KtHandle<KtStringBuffer> {
public:
    KtString() noexcept {}
    KtString(std::nullptr_t) noexcept {}
    /// A new buffer holding `text` (null gives an empty string).
    KtString(const char* text);
    /// A new buffer holding `length` bytes of `text`. Always inlined: the readers make most of
    /// their strings through it.
    KT_ALWAYS_INLINE KtString(const char* text, unsigned length)
        : KtHandle<KtStringBuffer>(new KtStringBuffer(text, length)) {}
    /// A string for a constant of static storage duration: its buffer is immortal, so the
    /// threads that share it never write its reference count.
    static KtString sStatic(const char* text) {
        KtString s(text);
        s->makeImmortal();
        return s;
    }
    /// Shares `buffer`.
    KtString(const KtStringBuffer* buffer) noexcept : KtHandle<KtStringBuffer>(buffer) {}
    KtString(const KtHandle<KtStringBuffer>& other) noexcept : KtHandle<KtStringBuffer>(other) {}

    /// The text ("" for nil).
    const char* c_str() const noexcept { return isNil() ? "" : get()->c_str(); }
    /// Number of bytes (0 for nil).
    unsigned length() const noexcept { return isNil() ? 0 : get()->length(); }
    /// True for nil or an empty string.
    bool empty() const noexcept { return isNil() || get()->empty(); }

    /// A buffer owned by this handle alone (created or copied as needed), for writing.
    KtStringBuffer* mutableBuffer();
    /// Copy-on-write mutators.
    void assign(const char* text) { mutableBuffer()->assign(text); }
    void assign(const char* text, unsigned length) { mutableBuffer()->assign(text, length); }
    void append(const char* text) { mutableBuffer()->append(text); }
    void append(const char* text, unsigned length) { mutableBuffer()->append(text, length); }
    void toUpper() { mutableBuffer()->toUpper(); }
    void toLower() { mutableBuffer()->toLower(); }
    void trim() { mutableBuffer()->trim(); }

    /// Exact comparison (nil reads as ""); 0 when equal.
    int compareWith(const char* text) const noexcept;
    /// Comparison ignoring ASCII case (nil reads as ""); 0 when equal.
    int compareNoCase(const char* text) const noexcept;
    bool operator==(const char* text) const noexcept { return compareWith(text) == 0; }
    bool operator!=(const char* text) const noexcept { return compareWith(text) != 0; }
    bool operator==(const KtString& o) const noexcept { return compareWith(o.c_str()) == 0 && length() == o.length(); }
    bool operator!=(const KtString& o) const noexcept { return !(*this == o); }
    /// String order (by bytes), for ordered containers.
    bool operator<(const KtString& o) const noexcept;
};

/// Writes the text of `s` ("" for nil).
std::ostream& operator<<(std::ostream& os, const KtString& s);
/// Reads one white-space-delimited word into `s`.
KtInputStream& operator>>(KtInputStream& in, KtString& s);

/// A light string value for fixed texts and short fields. Copies share the bytes.
class KtConstString {
public:
    KtConstString() noexcept {}
    KtConstString(const char* text) : m_String(text ? KtString(text) : KtString()) {}
    KtConstString(const KtString& s) noexcept : m_String(s) {}
    /// Takes over `s` (no reference counted).
    KtConstString(KtString&& s) noexcept : m_String(std::move(s)) {}

    /// Replaces the value with `text` (null gives the empty value).
    void assign(const char* text) { m_String = text && *text ? KtString(text) : KtString(); }
    /// Replaces the value with `length` bytes of `text`.
    void assign(const char* text, unsigned length) { m_String = length ? KtString(text, length) : KtString(); }
    /// Exact comparison with `text` (null counts as empty); 0 when equal.
    int compare(const char* text) const noexcept { return m_String.compareWith(text); }
    /// Converts the value to upper case.
    void toUpper() {
        if (!m_String.empty()) m_String.toUpper();
    }
    /// Drops the value; the string becomes empty.
    void releaseBuffer() noexcept { m_String.clear(); }

    /// The text ("" when empty).
    const char* c_str() const noexcept { return m_String.c_str(); }
    /// Number of bytes.
    unsigned length() const noexcept { return m_String.length(); }
    /// True when empty.
    bool empty() const noexcept { return m_String.empty(); }
    /// The value as a shared KtString.
    const KtString& str() const noexcept { return m_String; }
    bool operator==(const char* text) const noexcept { return compare(text) == 0; }
    bool operator==(const KtConstString& o) const noexcept { return m_String == o.m_String; }

private:
    KtString m_String;
};

#endif
