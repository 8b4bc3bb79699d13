// A fixed table of immortal strings, looked up by their bytes.
#ifndef KTSIP_KT_STRING_TABLE_H
#define KTSIP_KT_STRING_TABLE_H

#include <initializer_list>

#include "KtProbeTable.h"
#include "KtString.h"

class KtInputStream;

/// A fixed set of common words as immortal strings (KtString::sStatic). A parser that reads a
/// word the table holds shares the constant instead of allocating a string of its own; the
/// result is the same text, and a holder that changes it gets its own copy (copy on write).
/// The table is filled by its constructor and only read afterwards, so any number of threads
/// may use it at once. Its constants are immortal and so is the list that holds them (never
/// freed, and reachable from the table until the process ends): make the table a static.
class KtStringTable {
public:
    /// A table of `words` (NUL-terminated; duplicates are kept once, empty words ignored).
    explicit KtStringTable(std::initializer_list<const char*> words);
    KtStringTable(const KtStringTable&) = delete;
    KtStringTable& operator=(const KtStringTable&) = delete;

    /// The table's constant whose bytes equal the `length` bytes at `text` (case counts), or
    /// nullptr.
    const KtString* find(const char* text, unsigned length) const noexcept;
    /// The `length` bytes at `text` as a string: the table's constant when it holds them,
    /// otherwise a new string.
    KtString make(const char* text, unsigned length) const;
    /// Reads as KtStringBuffer::parse(in, delimiters) does (spaces and tabs in front skipped,
    /// then the bytes up to the first delimiter or the end of the input, the delimiter left
    /// in the stream), removes white space around the text when `trim` is true, and returns
    /// it through make(). Returns a nil string when no byte remains.
    KtString parse(KtInputStream& in, const KtDelimiterSet& delimiters, bool trim) const;
    /// Reads as parse() does, for texts no table holds: the word is always a new string.
    static KtString sParseWord(KtInputStream& in, const KtDelimiterSet& delimiters, bool trim);

    /// Number of words held.
    unsigned size() const noexcept { return m_Table.size(); }

private:
    // make(), in a form the word reader inlines.
    KtString makeInline(const char* text, unsigned length) const;
    static KtString parseWith(const KtStringTable* table, KtInputStream& in, const KtDelimiterSet& delimiters, bool trim);
    const KtString* m_pWords;  // the constants; never freed, like the strings they hold
    KtProbeTable<const KtString*> m_Table;
};

#endif
