// A reference-counted array of bytes.
#ifndef KTSIP_KT_BYTE_ARRAY_H
#define KTSIP_KT_BYTE_ARRAY_H

#include <iosfwd>

#include "KtHandle.h"
#include "TorvaneMemAllocator.h"

/// A fixed-length, reference-counted byte array.
class KtByteArray : public KtObject {
    TORVANE_POOLED_OBJECT("KtByteArray")
public:
    /// A copy of the NUL-terminated `text`, without its terminator (null gives an empty array).
    static KtHandle<KtByteArray> sCreate(const char* text);
    /// A copy of `length` bytes at `bytes` (null bytes give `length` zero bytes).
    static KtHandle<KtByteArray> sCreate(unsigned length, const void* bytes);

    explicit KtByteArray(unsigned length);
    KtByteArray(const KtByteArray& other);
    ~KtByteArray() override;
    KtByteArray& operator=(const KtByteArray&) = delete;
    KtByteArray* clone() const override;

    /// Number of bytes.
    unsigned getLength() const noexcept { return m_Length; }
    /// The bytes (followed by one NUL that is not counted, for convenience).
    const unsigned char* getData() const noexcept { return m_pData; }
    /// The bytes as characters (for readers of text).
    const char* chars() const noexcept { return reinterpret_cast<const char*>(m_pData); }
    unsigned char* getData() noexcept { return m_pData; }
    /// Byte `i`; `i` must be below getLength().
    unsigned char& operator[](unsigned i) noexcept { return m_pData[i]; }
    unsigned char operator[](unsigned i) const noexcept { return m_pData[i]; }

private:
    unsigned char* m_pData;
    unsigned m_Length;
};

/// Writes the bytes of the array as they are (nothing for a nil handle).
std::ostream& operator<<(std::ostream& os, const KtHandle<KtByteArray>& bytes);

#endif
