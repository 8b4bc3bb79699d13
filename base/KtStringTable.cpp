// KtStringTable: immortal constants for common words.
#include "KtStringTable.h"

#include <cstring>

#include "KtInputStream.h"

unsigned KtStringTable::key(const char* text, unsigned length) noexcept {
    if (length == 0) return 0;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
    return length * 131u + p[0] * 31u + p[length - 1] * 7u + p[length / 2];
}

KtStringTable::KtStringTable(std::initializer_list<const char*> words) : m_pWords(nullptr), m_Size(0) {
    KtString* kept = new KtString[words.size()];
    for (const char* w : words) {
        if (w == nullptr || *w == '\0') continue;
        bool known = false;
        for (unsigned i = 0; i < m_Size && !known; ++i) known = kept[i] == w;
        if (!known) kept[m_Size++] = KtString::sStatic(w);
    }
    m_pWords = kept;
    unsigned slots = 16;
    while (slots < 2 * m_Size) slots *= 2;
    m_Slots.assign(slots, nullptr);
    for (unsigned w = 0; w < m_Size; ++w) {
        unsigned i = key(m_pWords[w].c_str(), m_pWords[w].length()) & (slots - 1);
        while (m_Slots[i] != nullptr) i = (i + 1) & (slots - 1);
        m_Slots[i] = &m_pWords[w];
    }
}

const KtString* KtStringTable::find(const char* text, unsigned length) const noexcept {
    if (m_Size == 0 || length == 0) return nullptr;
    const unsigned mask = static_cast<unsigned>(m_Slots.size()) - 1;
    for (unsigned i = key(text, length) & mask;; i = (i + 1) & mask) {
        const KtString* w = m_Slots[i];
        if (w == nullptr) return nullptr;
        if (w->length() == length && ktEqualBytes(w->c_str(), text, length)) return w;
    }
}

KtString KtStringTable::make(const char* text, unsigned length) const {
    if (const KtString* w = find(text, length)) return *w;
    return KtString(text, length);
}

KtString KtStringTable::parse(KtInputStream& in, const KtDelimiterSet& delimiters, bool trim) const {
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
        return make(start, static_cast<unsigned>(p - start));
    }
    // The word runs to the end of the window: the string buffer's reader collects it across
    // refills (nothing is consumed yet but the blanks it would skip too).
    KtString word("");
    KtStringBuffer* buffer = word.mutableBuffer();
    buffer->parse(in, delimiters);
    if (trim) buffer->trim();
    if (const KtString* w = find(buffer->c_str(), buffer->length())) return *w;
    return word;
}
