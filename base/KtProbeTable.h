// KtProbeTable: a small fixed table from short names to values, for the lookups that run once
// per header line or per message (header classes, first tokens, common words).
#ifndef KTSIP_KT_PROBE_TABLE_H
#define KTSIP_KT_PROBE_TABLE_H

#include <cstdint>
#include <vector>

#include "KtString.h"

/// An open-addressing table of names (byte strings held by pointer) to values of type V
/// (a pointer-like type whose V{} means "absent"). It holds at most the capacity given to its
/// constructor; the names must outlive the table. Lookups read a compact slot index (two
/// bytes a slot, twice as many slots as entries) and the dense list of entries, so the few
/// cache lines a lookup touches stay warm between messages. The slot of a name depends on its
/// length and three of its bytes with ASCII case folded: a lookup ignoring case walks the same
/// chain as an exact one. Filled once, then only read: any number of threads may look up at
/// once.
template <class V>
class KtProbeTable {
public:
    /// An empty table with room for `capacity` entries (at most 65535).
    explicit KtProbeTable(unsigned capacity) {
        if (capacity > 0xFFFFu) capacity = 0xFFFFu;
        unsigned slots = 16;
        while (slots < 2 * capacity) slots *= 2;
        m_Slots.assign(slots, 0);
        m_Mask = slots - 1;
        m_Capacity = capacity;
        m_Entries.reserve(capacity);
    }

    /// Adds `name` (`length` bytes, kept by pointer) with `value`. Returns false, adding
    /// nothing, when the table is full or already holds exactly these bytes.
    bool add(const char* name, unsigned length, V value) {
        if (m_Entries.size() >= m_Capacity || find(name, length) != V{}) return false;
        unsigned i = key(name, length);
        while (m_Slots[i] != 0) i = (i + 1) & m_Mask;
        m_Entries.push_back(Entry{name, length, value});
        m_Slots[i] = static_cast<std::uint16_t>(m_Entries.size());
        return true;
    }

    /// The value of the entry whose name is exactly the `length` bytes at `name`, or V{}.
    V find(const char* name, unsigned length) const noexcept {
        return findIf(name, length, [name, length](const char* n) { return ktEqualBytes(n, name, length); });
    }

    /// The value of the first entry of `length` bytes on the probe chain of `name` whose name
    /// `same(entryName)` accepts, or V{}. For a predicate that ignores ASCII case.
    template <class Same>
    V findIf(const char* name, unsigned length, Same same) const {
        for (unsigned i = key(name, length);; i = (i + 1) & m_Mask) {
            const unsigned slot = m_Slots[i];
            if (slot == 0) return V{};
            const Entry& e = m_Entries[slot - 1];
            if (e.length == length && same(e.name)) return e.value;
        }
    }

    /// Number of entries.
    unsigned size() const noexcept { return static_cast<unsigned>(m_Entries.size()); }
    /// True when no more entries fit.
    bool full() const noexcept { return m_Entries.size() >= m_Capacity; }

private:
    struct Entry {
        const char* name;
        unsigned length;
        V value;
    };
    static unsigned fold(unsigned char c) noexcept { return (c >= 'A' && c <= 'Z') ? c + 32u : c; }
    unsigned key(const char* name, unsigned length) const noexcept {
        if (length == 0) return 0;
        const unsigned char* p = reinterpret_cast<const unsigned char*>(name);
        return (length * 131u + fold(p[0]) * 31u + fold(p[length / 2]) * 7u + fold(p[length - 1])) & m_Mask;
    }

    std::vector<std::uint16_t> m_Slots;  // entry number + 1, or 0 for a free slot
    std::vector<Entry> m_Entries;        // reserved up front: never moves
    unsigned m_Mask = 0;
    unsigned m_Capacity = 0;
};

#endif
