// The order in which the header kinds of a message were added.
#include "KtSipHeaderOrder.h"

#include <cstring>

TORVANE_FILE_LOGGER("calvoran.kt.KtSipHeaderOrder")

namespace {
constexpr char kPoolTag[] = "KtSipMessage";

// The overflow arrays come from the message pool, as message bodies do.
Torvane::KnownPool<Torvane::pooldetail::knownIndex(kPoolTag)> orderPool() { return {}; }
}  // namespace

void KtSipHeaderOrder::releaseOverflow() noexcept { orderPool().deallocateSized(m_pOverflow, m_Capacity); }

bool KtSipHeaderOrder::reserve(unsigned capacity) {
    if (capacity > MAX_ENTRIES) capacity = MAX_ENTRIES;
    if (capacity <= m_Capacity) return false;
    unsigned char* grown = static_cast<unsigned char*>(orderPool().allocateSized(capacity));
    std::memcpy(grown, data(), m_Size);
    if (m_pOverflow) orderPool().deallocateSized(m_pOverflow, m_Capacity);
    m_pOverflow = grown;
    m_Capacity = capacity;
    return true;
}

bool KtSipHeaderOrder::appendGrowing(HeaderID id) {
    if (!reserve(m_Capacity * 2)) return false;
    data()[m_Size++] = static_cast<unsigned char>(id);
    return true;
}

void KtSipHeaderOrder::removeAll(HeaderID id) noexcept {
    unsigned char* entries = data();
    unsigned kept = 0;
    for (unsigned i = 0; i < m_Size; ++i)
        if (entries[i] != static_cast<unsigned char>(id)) entries[kept++] = entries[i];
    m_Size = kept;
}

bool KtSipHeaderOrder::contains(HeaderID id) const noexcept {
    return std::memchr(data(), static_cast<unsigned char>(id), m_Size) != nullptr;
}

void KtSipHeaderOrder::assign(const KtSipHeaderOrder& other) {
    if (this == &other) return;
    if (other.m_Size > m_Capacity) reserve(other.m_Size);
    const unsigned count = other.m_Size < m_Capacity ? other.m_Size : m_Capacity;
    std::memcpy(data(), other.data(), count);
    m_Size = count;
}

std::vector<HeaderID> KtSipHeaderOrder::toVector() const {
    std::vector<HeaderID> ids;
    ids.reserve(m_Size);
    for (unsigned i = 0; i < m_Size; ++i) ids.push_back((*this)[i]);
    return ids;
}
