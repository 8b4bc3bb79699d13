// The bounded work buffer of the scanner.
#ifndef KTSIP_KT_SCANNER_BUFFER_H
#define KTSIP_KT_SCANNER_BUFFER_H

#include "KtString.h"

/// A component being collected by a reader: at most `limit()` bytes (1023 unless the
/// constructor says less), always with room for a NUL after them. Lives on the stack;
/// the bytes are not cleared.
///
/// Overflow: when a byte would not fit, the overflow handler given to the constructor is
/// called (it usually throws the reader's own error); without one, or when it returns,
/// the adding call returns false and adds nothing.
class KtScannerBuffer {
public:
    /// The largest limit: a component of 1023 bytes.
    static constexpr unsigned CAPACITY = 1023;
    /// Called when a byte would not fit; expected to throw.
    typedef void (*OverflowHandler)();

    /// An empty buffer holding at most `limit` bytes (clipped to CAPACITY).
    explicit KtScannerBuffer(OverflowHandler overflow = nullptr, unsigned limit = CAPACITY) noexcept
        : m_Length(0), m_Limit(limit < CAPACITY ? limit : CAPACITY), m_Overflow(overflow) {}
    KtScannerBuffer(const KtScannerBuffer&) = delete;
    KtScannerBuffer& operator=(const KtScannerBuffer&) = delete;

    /// Appends byte `c`; false on overflow (see the class comment).
    bool put(int c) {
        if (m_Length >= m_Limit) return overflow();
        m_Data[m_Length++] = static_cast<char>(c);
        return true;
    }
    /// Appends `n` bytes of `text`, all or none; false on overflow.
    bool append(const char* text, unsigned n) {
        if (n > m_Limit - m_Length) return overflow();
        ktCopyBytes(m_Data + m_Length, text, n);
        m_Length += n;
        return true;
    }
    /// Forgets the bytes.
    void clear() noexcept { m_Length = 0; }
    /// Number of bytes held.
    unsigned length() const noexcept { return m_Length; }
    /// Most bytes it holds.
    unsigned limit() const noexcept { return m_Limit; }
    /// True when it holds no byte.
    bool empty() const noexcept { return m_Length == 0; }
    /// The bytes (not NUL-terminated; see c_str).
    const char* data() const noexcept { return m_Data; }
    /// The bytes followed by a NUL.
    const char* c_str() noexcept {
        m_Data[m_Length] = '\0';
        return m_Data;
    }
    /// A new string of the bytes.
    KtString str() const { return KtString(m_Data, m_Length); }

private:
    bool overflow() const {
        if (m_Overflow) m_Overflow();
        return false;
    }

    char m_Data[CAPACITY + 1];
    unsigned m_Length;
    unsigned m_Limit;
    OverflowHandler m_Overflow;
};

#endif
