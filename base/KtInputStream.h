// Byte input streams.
//
// A stream is a window [current, end) over contiguous memory. Reading a byte,
// marking and resetting are inline pointer steps; only refilling the window is
// virtual. KtByteArrayInputStream reads its array in place.
#ifndef KTSIP_KT_INPUT_STREAM_H
#define KTSIP_KT_INPUT_STREAM_H

#include "KtByteArray.h"
#include "KtHandle.h"

/// Abstract byte input stream.
class KtInputStream : public KtObject {
public:
    ~KtInputStream() override {}

    /// The next byte as 0..255, or -1 at the end of the input.
    int read() {
        if (m_pCur < m_pEnd) return static_cast<unsigned char>(*m_pCur++);
        return readSlow();
    }
    /// The next byte without consuming it, or -1 at the end of the input.
    int peek() {
        if (m_pCur < m_pEnd) return static_cast<unsigned char>(*m_pCur);
        return peekSlow();
    }
    /// Reads up to `length` bytes into `buffer` at `offset`; returns the count read,
    /// or -1 when the input is at its end (0 only when `length` is 0).
    int read(void* buffer, unsigned length, unsigned offset);
    /// Skips up to `count` bytes; returns the number skipped.
    unsigned skip(unsigned count);

    /// Remembers the current position. `limit` is the look-ahead the caller needs; every
    /// stream of this library keeps at least the bytes from the mark onwards.
    void mark(unsigned limit = 1) {
        (void)limit;
        m_pMark = m_pCur;
    }
    /// Goes back to the position of the last mark (no effect without a mark).
    void reset() {
        if (m_pMark) m_pCur = m_pMark;
    }
    /// Number of bytes that can be read without waiting.
    int available() const { return static_cast<int>(m_pEnd - m_pCur); }
    /// True when no byte is left (after trying to refill).
    bool atEnd() { return peek() < 0; }

    /// Direct access for bulk scanning: the unread bytes are [current(), end()).
    const char* current() const { return m_pCur; }
    const char* end() const { return m_pEnd; }
    /// Consumes `count` bytes of the window (at most end() - current()).
    void advance(unsigned count) { m_pCur += count; }
    /// Sets the position inside the window (a value previously obtained from current()).
    void setCurrent(const char* position) { m_pCur = position; }
    /// Makes more bytes available; returns false at the end of the input. A stream whose
    /// window is all of its input (an array read in place) answers without a call.
    bool fill() { return !m_Whole && refill(); }

protected:
    KtInputStream() : m_pCur(nullptr), m_pEnd(nullptr), m_pMark(nullptr), m_Whole(false) {}
    /// Sets the window.
    void setWindow(const char* begin, const char* end) {
        m_pCur = begin;
        m_pEnd = end;
        m_pMark = nullptr;
    }
    /// Extends or replaces the window when it is used up. Implementations keep the bytes
    /// from the mark onwards addressable and update the three pointers. The default has
    /// no more data.
    virtual bool refill();

    const char* m_pCur;
    const char* m_pEnd;
    const char* m_pMark;
    /// Set by a stream whose window is all of its input and whose refill never adds bytes.
    bool m_Whole;

private:
    int readSlow();
    int peekSlow();
};

/// Input stream over a byte array or a caller's buffer, read in place.
class KtByteArrayInputStream : public KtInputStream {
    TORVANE_POOLED_OBJECT("KtStream")
public:
    /// Reads `length` bytes of `bytes` starting at `offset` (clipped to the array).
    KtByteArrayInputStream(const KtByteArray* bytes, unsigned offset, unsigned length);
    /// Reads the whole array.
    explicit KtByteArrayInputStream(const KtHandle<KtByteArray>& bytes);
    /// Reads `length` bytes at `data`, which the caller keeps alive and unchanged.
    KtByteArrayInputStream(const char* data, unsigned length) {
        setWindow(data, data ? data + length : nullptr);
        m_Whole = true;
    }
    ~KtByteArrayInputStream() override {}

private:
    KtHandle<KtByteArray> m_Bytes;
};

#endif
