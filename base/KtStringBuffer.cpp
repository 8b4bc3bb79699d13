// KtStringBuffer, KtString and KtConstString.
#include <cstring>
#include <ostream>
#include <strings.h>

#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtString.h"

namespace {

TORVANE_POOL("KtString") textPool() { return {}; }

inline char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
inline char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }

}  // namespace

// ---------------------------------------------------------------- KtStringBuffer

KtStringBuffer* KtStringBuffer::sCreate(const char* text, unsigned length, unsigned capacity) {
    KtStringBuffer* b = new KtStringBuffer();
    if (text) {
        if (length == 0) length = static_cast<unsigned>(std::strlen(text));
        b->reserve(capacity > length ? capacity : length);
        b->assign(text, length);
    } else if (capacity) {
        b->reserve(capacity);
    }
    return b;
}

KtStringBuffer::KtStringBuffer(const char* text) : KtStringBuffer() { assign(text); }

KtStringBuffer::KtStringBuffer(const KtStringBuffer& other) : KtStringBuffer() {
    assign(other.m_pData, other.m_Length);
}

KtStringBuffer::~KtStringBuffer() {
    if (m_pData != m_Inline) textPool().deallocateSized(m_pData, m_Capacity + 1);
}

KtStringBuffer* KtStringBuffer::clone() const { return new KtStringBuffer(*this); }

unsigned KtStringBuffer::hashCode() const {
    unsigned h = 2166136261u;
    for (unsigned i = 0; i < m_Length; ++i) h = (h ^ static_cast<unsigned char>(m_pData[i])) * 16777619u;
    return h;
}

void KtStringBuffer::display(KtOutputStream& out, bool) const { out.write(m_pData, m_Length); }

void KtStringBuffer::grow(unsigned needed) {
    unsigned capacity = m_Capacity * 2;
    if (capacity < needed) capacity = needed;
    if (capacity < 63) capacity = 63;
    char* data = static_cast<char*>(textPool().allocateSized(capacity + 1));
    std::memcpy(data, m_pData, m_Length + 1);
    if (m_pData != m_Inline) textPool().deallocateSized(m_pData, m_Capacity + 1);
    m_pData = data;
    m_Capacity = capacity;
}

void KtStringBuffer::assign(const char* text) { assign(text, text ? static_cast<unsigned>(std::strlen(text)) : 0); }

void KtStringBuffer::assign(const char* text, unsigned length) {
    if (length > m_Capacity) {
        // `text` may point into this buffer: keep the old data alive until copied.
        m_Length = 0;
        m_pData[0] = '\0';
        if (text >= m_pData && text < m_pData + m_Capacity + 1) {
            KtStringBuffer copy(text, length);
            grow(length);
            std::memcpy(m_pData, copy.m_pData, length);
            m_Length = length;
            m_pData[length] = '\0';
            return;
        }
        grow(length);
    }
    if (length) std::memmove(m_pData, text, length);
    m_Length = length;
    m_pData[length] = '\0';
}

void KtStringBuffer::append(const char* text, unsigned length) {
    if (length == 0 || text == nullptr) return;
    if (m_Length + length > m_Capacity) {
        if (text >= m_pData && text < m_pData + m_Capacity + 1) {
            KtStringBuffer copy(text, length);
            append(copy.m_pData, length);
            return;
        }
        grow(m_Length + length);
    }
    ktCopyBytes(m_pData + m_Length, text, length);
    m_Length += length;
    m_pData[m_Length] = '\0';
}

void KtStringBuffer::append(const char* text) {
    if (text) append(text, static_cast<unsigned>(std::strlen(text)));
}

void KtStringBuffer::append(const KtStringBuffer* other) {
    if (other) append(other->m_pData, other->m_Length);
}

int KtStringBuffer::compareWith(const char* text) const noexcept { return std::strcmp(m_pData, text ? text : ""); }

int KtStringBuffer::compareNoCase(const char* text) const noexcept { return strcasecmp(m_pData, text ? text : ""); }

int KtStringBuffer::indexOf(const char* text, int from) const noexcept {
    if (text == nullptr || from < 0 || static_cast<unsigned>(from) > m_Length) return -1;
    const char* hit = std::strstr(m_pData + from, text);
    return hit ? static_cast<int>(hit - m_pData) : -1;
}

KtString KtStringBuffer::substr(unsigned from, unsigned length) const {
    if (from >= m_Length) return KtString("");
    if (length > m_Length - from) length = m_Length - from;
    return KtString(m_pData + from, length);
}

void KtStringBuffer::toLower() noexcept {
    for (unsigned i = 0; i < m_Length; ++i) m_pData[i] = lower(m_pData[i]);
}

void KtStringBuffer::toUpper() noexcept {
    for (unsigned i = 0; i < m_Length; ++i) m_pData[i] = upper(m_pData[i]);
}

void KtStringBuffer::trim() noexcept {
    unsigned begin = 0;
    while (begin < m_Length && ktIsWhite(m_pData[begin])) ++begin;
    unsigned end = m_Length;
    while (end > begin && ktIsWhite(m_pData[end - 1])) --end;
    if (begin) std::memmove(m_pData, m_pData + begin, end - begin);
    m_Length = end - begin;
    m_pData[m_Length] = '\0';
}

char* KtStringBuffer::lockBuffer(unsigned size) {
    if (size > m_Capacity) grow(size);
    return m_pData;
}

void KtStringBuffer::releaseBuffer(unsigned length) noexcept {
    m_Length = length > m_Capacity ? m_Capacity : length;
    m_pData[m_Length] = '\0';
}

bool KtStringBuffer::parse(KtInputStream& in, const KtDelimiterSet& delimiters) {
    clear();
    // Skip the blanks in front of the text (unless a blank is itself a delimiter, in which case
    // skipping still applies: a value never starts with a blank).
    int c;
    while ((c = in.peek()) == ' ' || c == '\t') in.advance(1);
    if (c < 0) return false;
    for (;;) {
        const char* p = in.current();
        const char* end = in.end();
        const char* start = p;
        p = delimiters.findIn(p, end);
        append(start, static_cast<unsigned>(p - start));
        in.setCurrent(p);
        if (p < end) return true;    // stopped at a delimiter
        if (!in.fill()) return true;  // end of input
    }
}

bool KtStringBuffer::parse(KtInputStream& in, const char* delimiters) {
    KtDelimiterSet set(delimiters);
    return parse(in, set);
}

void KtStringBuffer::read(KtInputStream& in, unsigned count) {
    clear();
    reserve(count);
    int n = in.read(m_pData, count, 0);
    m_Length = n > 0 ? static_cast<unsigned>(n) : 0;
    // read() may return fewer bytes than asked when the window ends; keep going.
    while (m_Length < count) {
        n = in.read(m_pData, count - m_Length, m_Length);
        if (n <= 0) break;
        m_Length += static_cast<unsigned>(n);
    }
    m_pData[m_Length] = '\0';
}

// ---------------------------------------------------------------- KtString

KtString::KtString(const char* text) : KtHandle<KtStringBuffer>(new KtStringBuffer(text)) {}

KtStringBuffer* KtString::mutableBuffer() {
    KtStringBuffer* b = get();
    if (b == nullptr) {
        KtHandle<KtStringBuffer>::assign(new KtStringBuffer());
    } else if (b->getRefCount() > 1) {
        KtHandle<KtStringBuffer>::assign(new KtStringBuffer(*b));
    }
    return get();
}

int KtString::compareWith(const char* text) const noexcept { return std::strcmp(c_str(), text ? text : ""); }

int KtString::compareNoCase(const char* text) const noexcept { return strcasecmp(c_str(), text ? text : ""); }

bool KtString::operator<(const KtString& o) const noexcept {
    unsigned a = length(), b = o.length();
    int r = std::memcmp(c_str(), o.c_str(), a < b ? a : b);
    return r < 0 || (r == 0 && a < b);
}

std::ostream& operator<<(std::ostream& os, const KtString& s) {
    os.write(s.c_str(), s.length());
    return os;
}

KtInputStream& operator>>(KtInputStream& in, KtString& s) {
    static const KtDelimiterSet white(" \t\r\n");
    KtStringBuffer* b = s.mutableBuffer();
    // Skip any white space, then read one word.
    int c;
    while ((c = in.peek()) == ' ' || c == '\t' || c == '\r' || c == '\n') in.advance(1);
    b->parse(in, white);
    return in;
}
