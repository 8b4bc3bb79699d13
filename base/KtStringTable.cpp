// KtStringTable: immortal constants for common words.
#include "KtStringTable.h"

#include <cstring>

#include "KtInputStream.h"

KtStringTable::KtStringTable(std::initializer_list<const char*> words)
    : m_pWords(nullptr), m_Table(static_cast<unsigned>(words.size())) {
    KtString* kept = new KtString[words.size()];
    unsigned n = 0;
    for (const char* w : words) {
        if (w == nullptr || *w == '\0') continue;
        const unsigned length = static_cast<unsigned>(std::strlen(w));
        if (m_Table.find(w, length) != nullptr) continue;  // kept once
        kept[n] = KtString::sStatic(w);
        m_Table.add(kept[n].c_str(), length, &kept[n]);
        ++n;
    }
    m_pWords = kept;
}

const KtString* KtStringTable::find(const char* text, unsigned length) const noexcept {
    if (length == 0) return nullptr;
    return m_Table.find(text, length);
}

// make, inlined into the word reader (parseWith) too.
KT_ALWAYS_INLINE KtString KtStringTable::makeInline(const char* text, unsigned length) const {
    if (length != 0)
        if (const KtString* w = m_Table.find(text, length)) return *w;
    return KtString(text, length);
}

KtString KtStringTable::make(const char* text, unsigned length) const { return makeInline(text, length); }

KtString KtStringTable::parse(KtInputStream& in, const KtDelimiterSet& delimiters, bool trim) const {
    return parseWith(this, in, delimiters, trim);
}

KtString KtStringTable::sParseWord(KtInputStream& in, const KtDelimiterSet& delimiters, bool trim) {
    return parseWith(nullptr, in, delimiters, trim);
}

// The reading of parse(); `table` (may be null) supplies the shared constants.
// Inlined into both readers (parse and sParseWord).
KT_ALWAYS_INLINE KtString KtStringTable::parseWith(const KtStringTable* table, KtInputStream& in,
                                                                        const KtDelimiterSet& delimiters, bool trim) {
    int c;
    while ((c = in.peek()) == ' ' || c == '\t') in.advance(1);
    if (c < 0) return KtString();
    const char* start = in.current();
    const char* end = in.end();
    const char* p = start;
    p = delimiters.findIn(p, end);
    if (p < end) {
        // The usual case: the word and its delimiter lie in the window; it is read in place.
        in.setCurrent(p);
        if (trim) {
            ktTrimRange(start, p);
        }
        const unsigned length = static_cast<unsigned>(p - start);
        return table != nullptr ? table->makeInline(start, length) : KtString(start, length);
    }
    // The word runs to the end of the window: the string buffer's reader collects it across
    // refills (nothing is consumed yet but the blanks it would skip too).
    KtString word("");
    KtStringBuffer* buffer = word.mutableBuffer();
    buffer->parse(in, delimiters);
    if (trim) buffer->trim();
    if (table != nullptr)
        if (const KtString* w = table->find(buffer->c_str(), buffer->length())) return *w;
    return word;
}
