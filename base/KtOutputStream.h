// Byte output streams appending to a growable buffer.
#ifndef KTSIP_KT_OUTPUT_STREAM_H
#define KTSIP_KT_OUTPUT_STREAM_H

#include <cstring>

#include "KtByteArray.h"
#include "KtString.h"

/// Abstract output stream. Writes append to a buffer; only growing it is virtual.
class KtOutputStream : public KtObject {
public:
    ~KtOutputStream() override;
    KtOutputStream(const KtOutputStream&) = delete;
    KtOutputStream& operator=(const KtOutputStream&) = delete;

    /// Appends `length` bytes.
    void write(const void* bytes, unsigned length) {
        if (static_cast<unsigned>(m_pLimit - m_pCur) < length) overflow(length);
        ktCopyBytes(m_pCur, static_cast<const char*>(bytes), length);
        m_pCur += length;
    }
    /// Appends one byte.
    void put(char c) {
        if (m_pCur == m_pLimit) overflow(1);
        *m_pCur++ = c;
    }
    KtOutputStream& operator<<(const char* text) {
        if (text) write(text, static_cast<unsigned>(std::strlen(text)));
        return *this;
    }
    /// Writes one byte.
    KtOutputStream& operator<<(char c) {
        put(c);
        return *this;
    }
    /// Writes one byte.
    KtOutputStream& operator<<(unsigned char c) {
        put(static_cast<char>(c));
        return *this;
    }
    /// Numbers are written in decimal.
    KtOutputStream& operator<<(int value);
    KtOutputStream& operator<<(unsigned int value);
    KtOutputStream& operator<<(long value);
    KtOutputStream& operator<<(unsigned long value);
    KtOutputStream& operator<<(long long value);
    KtOutputStream& operator<<(unsigned long long value);
    /// Writes the string's bytes (nothing for nil).
    KtOutputStream& operator<<(const KtString& s) {
        if (!s.isNil()) write(s.get()->c_str(), s.get()->length());
        return *this;
    }
    KtOutputStream& operator<<(const KtConstString& s) { return *this << s.str(); }
    /// Pushes buffered bytes to their destination; the base does nothing.
    virtual void flush();

private:
    // Writes `magnitude` in decimal, after a "-" when `negative`.
    void writeDecimal(unsigned long long magnitude, bool negative);

protected:
    KtOutputStream() : m_pBegin(nullptr), m_pCur(nullptr), m_pLimit(nullptr) {}
    /// Makes room for at least `needed` more bytes.
    virtual void overflow(unsigned needed) = 0;
    char* m_pBegin;
    char* m_pCur;
    char* m_pLimit;
};

/// Output stream collecting the bytes in memory.
class KtByteArrayOutputStream : public KtOutputStream {
    TORVANE_POOLED_OBJECT("KtStream")
public:
    /// Starts with room for `initialSize` bytes.
    explicit KtByteArrayOutputStream(unsigned initialSize = 512);
    ~KtByteArrayOutputStream() override;
    /// A copy of the bytes written so far.
    KtHandle<KtByteArray> toByteArray() const;
    /// The bytes written so far, in place.
    const char* data() const { return m_pBegin; }
    /// Number of bytes written.
    unsigned size() const { return static_cast<unsigned>(m_pCur - m_pBegin); }
    /// Forgets the bytes written; keeps the buffer.
    void clear() { m_pCur = m_pBegin; }

protected:
    void overflow(unsigned needed) override;

private:
    unsigned capacity() const { return static_cast<unsigned>(m_pLimit - m_pBegin); }
};

#endif
