// Input streams.
#include "KtInputStream.h"

#include <cstring>

bool KtInputStream::refill() { return false; }

int KtInputStream::readSlow() {
    if (m_pCur < m_pEnd || refill()) {
        if (m_pCur < m_pEnd) return static_cast<unsigned char>(*m_pCur++);
    }
    return -1;
}

int KtInputStream::peekSlow() {
    if (m_pCur < m_pEnd || refill()) {
        if (m_pCur < m_pEnd) return static_cast<unsigned char>(*m_pCur);
    }
    return -1;
}

int KtInputStream::read(void* buffer, unsigned length, unsigned offset) {
    if (length == 0) return 0;
    if (m_pCur >= m_pEnd && !refill()) return -1;
    unsigned n = static_cast<unsigned>(m_pEnd - m_pCur);
    if (n > length) n = length;
    std::memcpy(static_cast<char*>(buffer) + offset, m_pCur, n);
    m_pCur += n;
    return static_cast<int>(n);
}

unsigned KtInputStream::skip(unsigned count) {
    unsigned skipped = 0;
    while (skipped < count) {
        if (m_pCur >= m_pEnd && !refill()) break;
        unsigned n = static_cast<unsigned>(m_pEnd - m_pCur);
        if (n > count - skipped) n = count - skipped;
        m_pCur += n;
        skipped += n;
    }
    return skipped;
}

KtByteArrayInputStream::KtByteArrayInputStream(const KtByteArray* bytes, unsigned offset, unsigned length)
    : m_Bytes(bytes) {
    m_Whole = true;
    if (bytes == nullptr) {
        setWindow(nullptr, nullptr);
        return;
    }
    unsigned total = bytes->getLength();
    if (offset > total) offset = total;
    if (length > total - offset) length = total - offset;
    const char* begin = reinterpret_cast<const char*>(bytes->getData()) + offset;
    setWindow(begin, begin + length);
}

KtByteArrayInputStream::KtByteArrayInputStream(const KtHandle<KtByteArray>& bytes)
    : KtByteArrayInputStream(bytes.get(), 0, bytes.isNil() ? 0 : bytes->getLength()) {}
