// Reference-counted byte arrays.
#include "KtByteArray.h"

#include <cstring>
#include <ostream>

namespace {
TORVANE_POOL("KtByteArray") bytePool() { return {}; }
}  // namespace

KtHandle<KtByteArray> KtByteArray::sCreate(const char* text) {
    unsigned length = text ? static_cast<unsigned>(std::strlen(text)) : 0;
    return sCreate(length, text);
}

KtHandle<KtByteArray> KtByteArray::sCreate(unsigned length, const void* bytes) {
    KtByteArray* a = new KtByteArray(length);
    if (bytes && length) std::memcpy(a->m_pData, bytes, length);
    return KtHandle<KtByteArray>(a);
}

KtByteArray::KtByteArray(unsigned length)
    : m_pData(static_cast<unsigned char*>(bytePool().allocateSized(length + 1))), m_Length(length) {
    std::memset(m_pData, 0, length + 1);
}

KtByteArray::KtByteArray(const KtByteArray& other) : KtByteArray(other.m_Length) {
    std::memcpy(m_pData, other.m_pData, m_Length);
}

KtByteArray::~KtByteArray() { bytePool().deallocateSized(m_pData, m_Length + 1); }

KtByteArray* KtByteArray::clone() const { return new KtByteArray(*this); }

std::ostream& operator<<(std::ostream& os, const KtHandle<KtByteArray>& bytes) {
    if (!bytes.isNil() && bytes->getLength())
        os.write(reinterpret_cast<const char*>(bytes->getData()), bytes->getLength());
    return os;
}
