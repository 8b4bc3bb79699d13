// KtProbeTable: a small fixed table from short names to values, for the lookups that run once
// per header line or per message (header classes, first tokens, common words).
#ifndef KTSIP_KT_PROBE_TABLE_H
#define KTSIP_KT_PROBE_TABLE_H

#include <cstdint>
#include <vector>

#include "KtString.h"

/// An open-addressing table of names (byte strings held by pointer) to values of type V
/// (a pointer-like type whose V{} means "absent"). It holds at most the capacity given to its
/// constructor, in twice as many slots, so probe chains stay short; the names must outlive the
/// table. A slot holds the name, its length and the value: a probe reads one slot and
/// compares the bytes. The slot of a name depends on its length and three of its bytes with
/// ASCII case folded: a lookup ignoring case walks the same chain as an exact one. Filled
/// once, then only read: any number of threads may look up at once.
template <class V>
class KtProbeTable {
public:
    /// An empty table with room for `capacity` entries (at most 65536).
    explicit KtProbeTable(unsigned capacity) {
        if (capacity > 0x10000u) capacity = 0x10000u;
        unsigned slots = 16;
        while (slots < 2 * capacity) slots *= 2;
        m_Slots.assign(slots, Slot{nullptr, 0, V{}});
        m_Mask = slots - 1;
        m_Shift = 32;
        for (unsigned n = slots; n > 1; n >>= 1) --m_Shift;
        m_Capacity = capacity;
    }

    /// Adds `name` (`length` bytes, kept by pointer) with `value`. Returns false, adding
    /// nothing, when the table is full or already holds exactly these bytes.
    bool add(const char* name, unsigned length, V value) {
        if (m_Size >= m_Capacity || name == nullptr || find(name, length) != V{}) return false;
        unsigned i = key(name, length);
        while (m_Slots[i].name != nullptr) i = (i + 1) & m_Mask;
        m_Slots[i] = Slot{name, length, value};
        ++m_Size;
        return true;
    }

    /// The value of the entry whose name is exactly the `length` bytes at `name`, or V{}.
    V find(const char* name, unsigned length) const noexcept {
        return findIf(name, length, [name, length](const char* n) { return ktEqualBytes(n, name, length); });
    }
    /// As find; `entryName` is set to the entry's own name pointer (as added), or null.
    V find(const char* name, unsigned length, const char*& entryName) const noexcept {
        entryName = nullptr;
        return findIf(name, length, [name, length, &entryName](const char* n) {
            if (!ktEqualBytes(n, name, length)) return false;
            entryName = n;
            return true;
        });
    }

    /// The value of the first entry of `length` bytes on the probe chain of `name` whose name
    /// `same(entryName)` accepts, or V{}. For a predicate that ignores ASCII case.
    template <class Same>
    V findIf(const char* name, unsigned length, Same same) const {
        for (unsigned i = key(name, length);; i = (i + 1) & m_Mask) {
            const Slot& s = m_Slots[i];
            if (s.name == nullptr) return V{};
            if (s.length == length && same(s.name)) return s.value;
        }
    }

    /// Number of entries.
    unsigned size() const noexcept { return m_Size; }
    /// True when no more entries fit.
    bool full() const noexcept { return m_Size >= m_Capacity; }

private:
    struct Slot {
        const char* name;
        unsigned length;
        V value;
    };
    // The length and three bytes packed in a word and spread by a multiplicative (Fibonacci)
    // hash, whose top bits index the slots. Setting bit 5 of each byte folds ASCII case (it
    // also merges some other pairs of bytes, which only makes them share a chain).
    unsigned key(const char* name, unsigned length) const noexcept {
        if (length == 0) return 0;
        const unsigned char* p = reinterpret_cast<const unsigned char*>(name);
        const std::uint32_t packed = ((length & 0xFFu) | std::uint32_t{p[0]} << 8 | std::uint32_t{p[length / 2]} << 16 |
                                      std::uint32_t{p[length - 1]} << 24) | 0x20202000u;
        return static_cast<unsigned>((packed * 2654435761u) >> m_Shift);
    }

    std::vector<Slot> m_Slots;  // a null name marks a free slot
    unsigned m_Mask = 0;
    unsigned m_Shift = 32;  // 32 - log2(slots)
    unsigned m_Size = 0;
    unsigned m_Capacity = 0;
};

#endif
