// Ordered parameter lists.
#include "KtParameters.h"

#include <cstring>

#include "KtException.h"

namespace {

inline bool isBlank(int c) { return c == ' ' || c == '\t'; }

// Trims blanks (space, tab, CR, LF) from both ends of [begin, end).
inline void trimRange(const char*& begin, const char*& end) {
    while (begin < end && (*begin == ' ' || *begin == '\t' || *begin == '\r' || *begin == '\n')) ++begin;
    while (end > begin && (end[-1] == ' ' || end[-1] == '\t' || end[-1] == '\r' || end[-1] == '\n')) --end;
}

Torvane::MemPool& paramPool() {
    static Torvane::MemPool& pool = Torvane::MemPool::sGet("KtParameters");
    return pool;
}

}  // namespace

KtParameters::KtParameters(char separator)
    : m_pMutex(new KtMutex()), m_Pairs(Torvane::PoolAllocator<Pair>(paramPool())), m_Separator(separator) {}

KtParameters::KtParameters(const KtParameters& other)
    : KtObject(), m_pMutex(new KtMutex()), m_Pairs(Torvane::PoolAllocator<Pair>(paramPool())),
      m_Separator(other.m_Separator) {
    KtMutexGuard lock(*other.m_pMutex);
    m_Pairs.reserve(other.m_Pairs.size());
    for (const Pair& p : other.m_Pairs) m_Pairs.push_back(p);  // the strings are shared copy-on-write
}

KtParameters::~KtParameters() { delete m_pMutex; }

KtParameters* KtParameters::clone() const { return new KtParameters(*this); }

int KtParameters::findUnlocked(const char* name) const {
    if (name == nullptr) return -1;
    for (unsigned i = 0; i < m_Pairs.size(); ++i)
        if (std::strcmp(m_Pairs[i].name.c_str(), name) == 0) return static_cast<int>(i);
    return -1;
}

void KtParameters::setUnlocked(const char* name, unsigned nameLength, const char* value, unsigned valueLength,
                               bool hasValue) {
    for (Pair& p : m_Pairs) {
        if (p.name.length() == nameLength && std::memcmp(p.name.c_str(), name, nameLength) == 0) {
            p.value = hasValue ? KtString(value, valueLength) : KtString();
            return;
        }
    }
    m_Pairs.push_back(Pair{KtString(name, nameLength), hasValue ? KtString(value, valueLength) : KtString()});
}

void KtParameters::parseUnlocked(KtInputStream& in) {
    // A pair is collected into a bounded work buffer: name, then (after "=") value. Quoted
    // text may contain any byte but CR/LF; the quotes are kept with the value.
    const unsigned kMax = 1024;
    char name[kMax];
    char value[kMax];
    const bool commaEnds = m_Separator != ',';
    for (;;) {
        unsigned nameLen = 0, valueLen = 0;
        bool inValue = false, quoted = false;
        int c;
        for (;;) {
            c = in.peek();
            if (c < 0 || c == '\r' || c == '\n') break;
            if (!quoted && (c == m_Separator || (commaEnds && c == ','))) break;
            in.advance(1);
            if (c == '"') quoted = !quoted;
            if (!inValue && !quoted && c == '=') {
                inValue = true;
                continue;
            }
            if (c == '\\' && quoted) {
                // Keep an escaped byte inside a quoted value as it stands.
                int next = in.peek();
                if (next >= 0 && next != '\r' && next != '\n') {
                    if (valueLen + 2 > kMax) KtException::sThrow("Parameter too long");
                    value[valueLen++] = '\\';
                    value[valueLen++] = static_cast<char>(next);
                    in.advance(1);
                    continue;
                }
            }
            if (inValue) {
                if (valueLen + 1 > kMax) KtException::sThrow("Parameter too long");
                value[valueLen++] = static_cast<char>(c);
            } else {
                if (nameLen + 1 > kMax) KtException::sThrow("Parameter too long");
                name[nameLen++] = static_cast<char>(c);
            }
        }
        const char* nb = name;
        const char* ne = name + nameLen;
        trimRange(nb, ne);
        const char* vb = value;
        const char* ve = value + valueLen;
        trimRange(vb, ve);
        if (ne > nb) setUnlocked(nb, static_cast<unsigned>(ne - nb), vb, static_cast<unsigned>(ve - vb), inValue);
        if (c == m_Separator) {
            in.advance(1);
            while (isBlank(in.peek())) in.advance(1);
            continue;
        }
        return;  // end of input, line end, or a comma that ends the list
    }
}

void KtParameters::parse(KtInputStream& in) {
    KtMutexGuard lock(*m_pMutex);
    parseUnlocked(in);
}

void KtParameters::parse(const char* text) {
    if (text == nullptr) return;
    KtByteArrayInputStream in(text, static_cast<unsigned>(std::strlen(text)));
    KtMutexGuard lock(*m_pMutex);
    parseUnlocked(in);
}

void KtParameters::serializeUnlocked(KtOutputStream& out) const {
    bool first = true;
    for (const Pair& p : m_Pairs) {
        if (!first) out.put(m_Separator);
        first = false;
        out << p.name;
        if (!p.value.isNil()) {
            out.put('=');
            out << p.value;
        }
    }
}

void KtParameters::serialize(KtOutputStream& out) const {
    KtMutexGuard lock(*m_pMutex);
    serializeUnlocked(out);
}

KtString KtParameters::getString() const {
    KtByteArrayOutputStream out(128);
    {
        KtMutexGuard lock(*m_pMutex);
        serializeUnlocked(out);
    }
    return KtString(out.data(), out.size());
}

KtString KtParameters::getValue(const char* name) const {
    KtMutexGuard lock(*m_pMutex);
    int i = findUnlocked(name);
    return i < 0 ? KtString() : m_Pairs[static_cast<unsigned>(i)].value;
}

bool KtParameters::hasName(const char* name) const {
    KtMutexGuard lock(*m_pMutex);
    return findUnlocked(name) >= 0;
}

void KtParameters::setValue(const char* name, const char* value) {
    if (name == nullptr) return;
    KtMutexGuard lock(*m_pMutex);
    setUnlocked(name, static_cast<unsigned>(std::strlen(name)), value,
                value ? static_cast<unsigned>(std::strlen(value)) : 0, value != nullptr);
}

bool KtParameters::removeValue(const char* name) {
    KtMutexGuard lock(*m_pMutex);
    int i = findUnlocked(name);
    if (i < 0) return false;
    m_Pairs.erase(m_Pairs.begin() + i);
    return true;
}

void KtParameters::clear() {
    KtMutexGuard lock(*m_pMutex);
    m_Pairs.clear();
}

unsigned KtParameters::size() const {
    KtMutexGuard lock(*m_pMutex);
    return static_cast<unsigned>(m_Pairs.size());
}

KtString KtParameters::getName(unsigned i) const {
    KtMutexGuard lock(*m_pMutex);
    return i < m_Pairs.size() ? m_Pairs[i].name : KtString();
}

KtString KtParameters::getValueAt(unsigned i) const {
    KtMutexGuard lock(*m_pMutex);
    return i < m_Pairs.size() ? m_Pairs[i].value : KtString();
}
