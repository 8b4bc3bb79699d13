// Output streams.
#include "KtOutputStream.h"

#include <cstdio>

namespace {
TORVANE_POOL("KtStream") streamPool() { return {}; }

// "00" to "99": two digits per division.
const char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Writes the decimal digits of `v` backwards from `end`; returns where they start. Values
// that fit 32 bits (ports, lengths, sequence numbers) use 32-bit arithmetic.
inline char* formatUnsigned(char* end, unsigned long long v) {
    char* p = end;
    while (v > 0xffffffffull) {
        *--p = static_cast<char>('0' + v % 10);
        v /= 10;
    }
    unsigned n = static_cast<unsigned>(v);
    while (n >= 100) {
        const unsigned pair = (n % 100) * 2;
        n /= 100;
        *--p = kDigitPairs[pair + 1];
        *--p = kDigitPairs[pair];
    }
    if (n >= 10) {
        *--p = kDigitPairs[n * 2 + 1];
        *--p = kDigitPairs[n * 2];
    } else {
        *--p = static_cast<char>('0' + n);
    }
    return p;
}
}  // namespace

KtOutputStream::~KtOutputStream() {}

void KtOutputStream::flush() {}

// Every integer overload writes through this one: a single digit (versions, most lengths and
// sequence numbers) is one byte put; other values are formatted backwards in a small buffer.
KT_ALWAYS_INLINE void KtOutputStream::writeDecimal(unsigned long long magnitude, bool negative) {
    if (magnitude < 10 && !negative) {
        put(static_cast<char>('0' + magnitude));
        return;
    }
    char buf[24];
    char* p = formatUnsigned(buf + sizeof(buf), magnitude);
    if (negative) *--p = '-';
    write(p, static_cast<unsigned>(buf + sizeof(buf) - p));
}

namespace {
// The magnitude of `value` (also of the most negative value).
inline unsigned long long magnitudeOf(long long value) {
    return value < 0 ? 0ull - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
}
}  // namespace

KtOutputStream& KtOutputStream::operator<<(unsigned long long value) {
    writeDecimal(value, false);
    return *this;
}
KtOutputStream& KtOutputStream::operator<<(long long value) {
    writeDecimal(magnitudeOf(value), value < 0);
    return *this;
}
KtOutputStream& KtOutputStream::operator<<(int value) {
    writeDecimal(magnitudeOf(value), value < 0);
    return *this;
}
KtOutputStream& KtOutputStream::operator<<(unsigned int value) {
    writeDecimal(value, false);
    return *this;
}
KtOutputStream& KtOutputStream::operator<<(long value) {
    writeDecimal(magnitudeOf(value), value < 0);
    return *this;
}
KtOutputStream& KtOutputStream::operator<<(unsigned long value) {
    writeDecimal(value, false);
    return *this;
}

KtByteArrayOutputStream::KtByteArrayOutputStream(unsigned initialSize) {
    if (initialSize < 16) initialSize = 16;
    m_pBegin = static_cast<char*>(streamPool().allocateSized(initialSize));
    m_pCur = m_pBegin;
    m_pLimit = m_pBegin + initialSize;
}

KtByteArrayOutputStream::~KtByteArrayOutputStream() { streamPool().deallocateSized(m_pBegin, capacity()); }

void KtByteArrayOutputStream::overflow(unsigned needed) {
    unsigned used = size();
    unsigned cap = capacity() * 2;
    if (cap < used + needed) cap = used + needed;
    char* data = static_cast<char*>(streamPool().allocateSized(cap));
    std::memcpy(data, m_pBegin, used);
    streamPool().deallocateSized(m_pBegin, capacity());
    m_pBegin = data;
    m_pCur = data + used;
    m_pLimit = data + cap;
}

KtHandle<KtByteArray> KtByteArrayOutputStream::toByteArray() const { return KtByteArray::sCreate(size(), m_pBegin); }
