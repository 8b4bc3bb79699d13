// The order in which the header kinds of a message were added.
#ifndef KTSIP_KT_SIP_HEADER_ORDER_H
#define KTSIP_KT_SIP_HEADER_ORDER_H

#include <vector>

#include "KtSipHeader.h"

/// The order in which header kinds first entered a message. Each kind normally appears
/// once, so the first 64 entries live inside the object; only repeated entries (which
/// addHeaderByID makes when it is called for a kind already present) go to a pooled
/// overflow array, which is bounded (MAX_ENTRIES).
class KtSipHeaderOrder {
public:
    KtSipHeaderOrder() noexcept : m_Size(0), m_Capacity(INLINE_CAPACITY), m_pOverflow(nullptr) {}
    ~KtSipHeaderOrder() {
        if (m_pOverflow) releaseOverflow();
    }
    KtSipHeaderOrder(const KtSipHeaderOrder&) = delete;
    KtSipHeaderOrder& operator=(const KtSipHeaderOrder&) = delete;

    /// Number of entries.
    unsigned size() const noexcept { return m_Size; }
    /// Entry `i` (below size()).
    HeaderID operator[](unsigned i) const noexcept { return static_cast<HeaderID>(data()[i]); }
    /// Appends `id`; returns false when the bounded list is full (the entry is dropped).
    bool append(HeaderID id) {  // inline: the parser appends once per header line
        if (m_Size == m_Capacity) return appendGrowing(id);
        data()[m_Size++] = static_cast<unsigned char>(id);
        return true;
    }
    /// Removes every entry equal to `id`.
    void removeAll(HeaderID id) noexcept;
    /// True when `id` is in the list.
    bool contains(HeaderID id) const noexcept;
    /// Replaces the entries by those of `other`.
    void assign(const KtSipHeaderOrder& other);
    /// The entries as a vector.
    std::vector<HeaderID> toVector() const;

    /// Entries kept inside the object.
    static const unsigned INLINE_CAPACITY = 64;
    /// Upper bound of the list; distinct kinds are at most 60, the rest are repeats.
    static const unsigned MAX_ENTRIES = 1024;

private:
    const unsigned char* data() const noexcept { return m_pOverflow ? m_pOverflow : m_Inline; }
    unsigned char* data() noexcept { return m_pOverflow ? m_pOverflow : m_Inline; }
    bool reserve(unsigned capacity);
    bool appendGrowing(HeaderID id);
    void releaseOverflow() noexcept;

    unsigned m_Size;
    unsigned m_Capacity;
    unsigned char* m_pOverflow;
    unsigned char m_Inline[INLINE_CAPACITY];
};

#endif
