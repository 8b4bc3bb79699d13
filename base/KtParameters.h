// Ordered name/value parameter lists (;name=value).
#ifndef KTSIP_KT_PARAMETERS_H
#define KTSIP_KT_PARAMETERS_H

#include <atomic>

#include "KtInputStream.h"
#include "KtLazyHandle.h"
#include "KtMutex.h"
#include "KtOutputStream.h"
#include "KtString.h"

/// An ordered list of name or name=value pairs with a separator (";" unless set otherwise).
/// Names match exactly. A value may be quoted; it is kept with its quotes. Every public
/// operation holds the list's own mutex.
class KtParameters : public KtObject {
    TORVANE_POOLED_OBJECT("KtParameters")
public:
    /// An empty list with `separator`.
    explicit KtParameters(char separator = ';');
    KtParameters(const KtParameters& other);
    ~KtParameters() override;
    KtParameters& operator=(const KtParameters&) = delete;
    KtParameters* clone() const override;
    /// A new empty list separated by ";": the maker of the lists in a KtLazyParameters.
    static KtParameters* sNewSemicolonList();
    /// A clone of `list`; nil when `list` is null (a lazy list not made yet).
    static KtHandle<KtParameters> sCloneOf(const KtParameters* list);
    /// The value of `name` in `list` as getValue gives it; empty when `list` is null.
    static KtString sValueIn(const KtParameters* list, const char* name);

    /// Reads pairs separated by the separator from `in`, appending them (a name already in
    /// the list has its value replaced). White space around names, values and separators is
    /// dropped. Reading stops, without consuming it, at CR, LF, the end of the input and,
    /// outside quotes, at "," unless "," is the separator. Empty elements (";;") are skipped.
    void parse(KtInputStream& in);
    /// Selects the owner's forms of the operations below, for the thread that owns a list no
    /// other thread can reach (the library's parsers, on the list of a header or URL they are
    /// reading): they take the list's mutex only when the list is referenced by more than one
    /// handle, and otherwise act as the plain forms.
    struct Owner {};
    static constexpr Owner sOwner{};
    /// As parse(in), in the owner's form.
    void parse(KtInputStream& in, Owner);
    /// As setValue, clear, hasName, getValue, removeValue and size, in the owner's form.
    void setValue(const char* name, const char* value, Owner);
    /// As setValue(name, value, sOwner) over texts given by their lengths (holding no NUL);
    /// `hasValue` false gives a bare name (the value is then ignored).
    void setValue(const char* name, unsigned nameLength, const char* value, unsigned valueLength, bool hasValue,
                  Owner);
    /// Makes room for `pairs` more pairs holding `textBytes` more bytes of names and values
    /// (NULs not counted), so that a reader which knows about how much it will store grows
    /// the list once. In the owner's form only.
    void reserve(unsigned pairs, unsigned textBytes, Owner);
    void clear(Owner);
    bool hasName(const char* name, Owner) const;
    KtString getValue(const char* name, Owner) const;
    bool removeValue(const char* name, Owner);
    unsigned size(Owner) const;
    /// As above over a NUL-terminated text.
    void parse(const char* text);
    /// Writes the pairs joined by the separator (name, or name=value), nothing when empty.
    /// The caller writes the separator that introduces the list.
    void serialize(KtOutputStream& out) const;
    /// When the list holds pairs, writes `lead` and then what serialize writes, under one
    /// lock; writes nothing for an empty list. For the writers of "value;params" forms.
    void serializeWithLead(KtOutputStream& out, char lead) const;
    /// The text serialize writes.
    KtString getString() const;

    /// The value of `name`; nil when the name is absent or has no value.
    KtString getValue(const char* name) const;
    /// True when the list holds `name` (with or without a value).
    bool hasName(const char* name) const;
    /// Replaces the value of `name`, or appends the pair. A null `value` gives a bare name.
    void setValue(const char* name, const char* value);
    /// Removes `name`; true when it was present.
    bool removeValue(const char* name);
    /// Removes every pair.
    void clear();

    /// Number of pairs.
    unsigned size() const;
    /// True when the list is empty.
    bool empty() const { return size() == 0; }
    /// Name and value of pair `i` (nil value for a bare name); `i` below size().
    KtString getName(unsigned i) const;
    KtString getValueAt(unsigned i) const;

    /// Reads a list under one lock, for writers that look up or walk many pairs in a row: it
    /// holds the list's mutex while it lives and hands out no string objects. The mutex is
    /// not recursive: no other operation of the same list may be called while a Reader of
    /// it lives in the same thread.
    class Reader {
    public:
        explicit Reader(const KtParameters& list) : m_List(list), m_Lock(list.mutex()) {}
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        /// Number of pairs.
        unsigned size() const noexcept { return m_List.m_Size; }
        /// True when the list holds `name` (with or without a value).
        bool has(const char* name) const { return m_List.findUnlocked(name) >= 0; }
        /// Writes the value of `name`: nothing when the name is absent or has no value.
        void writeValue(KtOutputStream& out, const char* name) const;
        /// The name of pair `i` (below size()), NUL-terminated.
        const char* nameAt(unsigned i) const noexcept { return m_List.nameOf(m_List.m_pPairs[i]); }
        /// Writes the name of pair `i` (below size()).
        void writeNameAt(KtOutputStream& out, unsigned i) const;
        /// Writes the value of pair `i` (below size()): nothing for a bare name.
        void writeValueAt(KtOutputStream& out, unsigned i) const;

    private:
        const KtParameters& m_List;
        KtMutexGuard m_Lock;
    };

    /// The separator.
    char getSeparator() const { return m_Separator; }
    /// Changes the separator.
    void setSeparator(char separator) { m_Separator = separator; }

private:
    // The texts of a list live in one buffer, each NUL-terminated; a pair holds offsets into
    // it. Reading a list thus costs no object per name or value: strings are made only when
    // getName, getValue or getValueAt hand one out. Replaced values and removed pairs leave
    // dead bytes behind, dropped whenever the buffer grows.
    struct Pair {
        unsigned nameOffset;
        unsigned nameLength;
        unsigned valueOffset;
        unsigned valueLength;
        bool hasValue;
    };
    // Pairs and text live in place up to these sizes, then in blocks of the "KtParameters" pool.
    static constexpr unsigned kInlinePairs = 4;
    static constexpr unsigned kInlineText = 96;

    // The number of pairs. It changes only under the mutex (or in an unshared list), but is
    // read atomically so that size() and the empty test of the writers need no lock (and an
    // empty list read that way never creates its mutex). Writers load and store; no locked
    // instruction is needed as they are serialised by the mutex.
    class Count {
    public:
        explicit Count(unsigned n) noexcept : m_N(n) {}
        operator unsigned() const noexcept { return m_N.load(std::memory_order_relaxed); }
        Count& operator=(unsigned n) noexcept {
            m_N.store(n, std::memory_order_relaxed);
            return *this;
        }
        unsigned operator++(int) noexcept {
            const unsigned n = *this;
            *this = n + 1;
            return n;
        }
        Count& operator--() noexcept { return *this = *this - 1; }

    private:
        std::atomic<unsigned> m_N;
    };

    // The list's mutex, created on first locked use (most parsed lists are only read by the
    // thread that parsed them, so many never need one).
    KtMutex& mutex() const { return m_Mutex.get(); }
    // Runs `f` under the mutex, or without it when this handle is the list's only reference.
    template <class F>
    auto unshared(F f) const -> decltype(f()) {
        if (getRefCount() > 1) {
            KtMutexGuard lock(mutex());
            return f();
        }
        return f();
    }
    const char* nameOf(const Pair& p) const { return m_pText + p.nameOffset; }
    const char* valueOf(const Pair& p) const { return m_pText + p.valueOffset; }
    KtString valueString(const Pair& p) const { return p.hasValue ? KtString(valueOf(p), p.valueLength) : KtString(); }
    unsigned storeText(const char* text, unsigned length);
    void reserveText(unsigned extra);
    void growText(unsigned extra);
    void growPairs(unsigned atLeast = 0);
    void erasePair(unsigned i);
    void clearPairs() noexcept;
    void freeBlocks() noexcept;
    struct PairScan;
    enum class PairEnd : unsigned char;
    template <bool Count, bool Store>
    PairEnd scanPair(const char* text, unsigned length, bool atEnd, bool commaEnds, PairScan& scan, int& stop,
                     char* name, char* value) const;
    void storePair(const char* text, const PairScan& scan, bool commaEnds);
    void storeEscapedPair(const char* text, unsigned length, bool commaEnds);
    int readPair(KtInputStream& in, bool commaEnds);
    int countPair(KtInputStream& in);
    static bool tellsLengths(const PairScan& scan);
    int findUnlocked(const char* name) const;
    bool removeUnlocked(const char* name);
    void setUnlocked(const char* name, unsigned nameLength, const char* value, unsigned valueLength, bool hasValue);
    void appendUnlocked(const char* name, unsigned nameLength, const char* value, unsigned valueLength,
                        bool hasValue);
    void parseUnlocked(KtInputStream& in);
    void serializeUnlocked(KtOutputStream& out) const;

    KtLazyMutex m_Mutex;
    Pair* m_pPairs;
    Count m_Size;
    unsigned m_Capacity;
    char* m_pText;
    unsigned m_TextSize;      // bytes in use, dead ones included
    unsigned m_TextCapacity;
    char m_Separator;
    Pair m_InlinePairs[kInlinePairs];
    char m_InlineText[kInlineText];
};

/// A ";"-separated list made on first use, for owners that most often have no parameters.
using KtLazyParameters = KtLazyHandle<KtParameters, &KtParameters::sNewSemicolonList>;

#endif
