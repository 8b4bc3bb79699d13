// The generic URI, the scheme registry and the scheme dispatch.
#include "KtURI.h"

#include <strings.h>
#include <typeinfo>

#include "KtException.h"
#include "KtSipLexer.h"
#include "KtSipURL.h"
#include "KtTelURL.h"
#include "TorvaneAceCleanup.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtURI")

KtURI::ConstructorMap* KtURI::sm_pConstructorMap = nullptr;

namespace {

// Ends the scheme data of a generic URI: ">", CR, LF.
const KtDelimiterSet& separators() {
    static const KtDelimiterSet ls_Separators(">\r\n");
    return ls_Separators;
}

// Frees the scheme registry at process exit.
void deleteConstructorMap(void* map);

// The bytes the scheme peek passes over: blanks and "<".
inline bool isSkipped(char c) { return KtSipLexer::sIsBlank(c) || c == '<'; }

// The three collected characters (ASCII letters lowered) packed for one comparison with a
// scheme packed alike; -1 when one is missing (the end of the input), which matches none.
inline long packed3(const int* c) {
    if (c[0] < 0 || c[1] < 0 || c[2] < 0) return -1;
    using Lexer = KtSipLexer;
    return Lexer::sToLower(c[0]) | Lexer::sToLower(c[1]) << 8 | static_cast<long>(Lexer::sToLower(c[2])) << 16;
}
constexpr long packedScheme(const char* scheme) {
    return scheme[0] | scheme[1] << 8 | static_cast<long>(scheme[2]) << 16;
}

}  // namespace

bool KtURI::compare::operator()(const KtString& a, const KtString& b) const {
    return strcasecmp(a.c_str(), b.c_str()) < 0;
}

void KtURI::sDeleteConstructorMap() {
    delete sm_pConstructorMap;
    sm_pConstructorMap = nullptr;
}

namespace {
void deleteConstructorMap(void*) { KtURI::sDeleteConstructorMap(); }
}  // namespace

KtURI::KtURI() : m_IsSipURL(false), m_InBracket(false) {}

KtURI::KtURI(const KtURI& other)
    : KtObject(), m_IsSipURL(false), m_InBracket(other.m_InBracket), m_SchemeData(other.m_SchemeData),
      m_Scheme(other.m_Scheme) {}

KtURI* KtURI::clone() const { return new KtURI(*this); }

bool KtURI::hasParameters() const { return false; }

bool KtURI::hasHeaders() const { return false; }

KtString KtURI::getString() const {
    KtString aString(KtStringBuffer::sCreate(nullptr, 0, 80));
    TORVANE_DEBUG(fileLogger(), "m_Scheme = " << m_Scheme);
    TORVANE_DEBUG(fileLogger(), "m_SchemeData = " << m_SchemeData);
    aString.append(m_Scheme.c_str(), m_Scheme.length());
    aString.append(":", 1);
    aString.append(m_SchemeData.c_str(), m_SchemeData.length());
    TORVANE_DEBUG(fileLogger(), "final aString = " << aString);
    return aString;
}

void KtURI::parse(const char* text) {
    const char* t = text ? text : "";
    KtByteArrayInputStream in(t, static_cast<unsigned>(std::strlen(t)));
    parse(in);
}

void KtURI::parse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtURI::parse");
    // An optional opening bracket.
    in.mark(1);
    if (in.read() != '<') in.reset();

    KtString scheme(KtStringBuffer::sCreate(nullptr, 0, 16));
    scheme.mutableBuffer()->parse(in, ":");
    scheme.trim();
    m_Scheme = scheme;

    // The colon; without one the text is no URI.
    if (in.read() < 0) KtException::sThrow("INVALID URI");

    KtString data(KtStringBuffer::sCreate(nullptr, 0, 64));
    data.mutableBuffer()->parse(in, separators());
    data.trim();
    m_SchemeData = data;

    // An optional closing bracket; a line end stays in the stream.
    in.mark(1);
    if (in.read() != '>') in.reset();
}

void KtURI::serialize(KtOutputStream& out) const {
    // A URL of exactly this library's sip: class writes itself straight into the stream;
    // any other class (a tel URL, a generic URI, a subclass) through its getString.
    if (m_IsSipURL && typeid(*this) == typeid(KtSipURL))
        static_cast<const KtSipURL*>(this)->write(out);
    else
        out << getString();
}

KtHandle<KtURI> KtURI::sConstructFrom(KtInputStream& in, bool inBracket) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtURI::sConstructFrom");
    // Look at the first three letters of the scheme, skipping blanks and a "<"; nothing is
    // consumed. Only these letters decide: "sips:" goes to the SIP URL parser, which rejects
    // the scheme, and every scheme that starts with "tel" goes to the tel parser.
    int c[3];
    int n = 0;
    // Usually the three letters lie in the stream's window: they are read there (the mark is
    // set all the same, as the general reading below leaves it).
    in.mark(8);
    const char* p = in.current();
    const char* const end = in.end();
    if (p < end && *p == '<') ++p;  // the usual "<sip:": three letters right after the bracket
    if (end - p >= 3 && !isSkipped(p[0]) && !isSkipped(p[1]) && !isSkipped(p[2])) {
        for (; n < 3; ++n) c[n] = static_cast<unsigned char>(p[n]);
    } else {
        for (p = in.current(); n < 3 && p < end; ++p)
            if (!isSkipped(*p)) c[n++] = static_cast<unsigned char>(*p);
    }
    if (n < 3) {
        n = 0;
        while (n < 3) {
            const int ch = in.read();
            if (ch >= 0 && isSkipped(static_cast<char>(ch))) continue;
            c[n++] = ch;
            if (ch < 0) {
                while (n < 3) c[n++] = -1;
            }
        }
        in.reset();
    }

    KtHandle<KtURI> result;
    const long scheme = packed3(c);
    if (scheme == packedScheme("sip")) {
        KtSipURL* url = new KtSipURL();
        result = url;
        url->m_Scheme = KtSipURL::sToken;
        url->m_InBracket = inBracket;
        url->parse(in);
        TORVANE_DEBUG(fileLogger(), "KtURI: parsed sip URL: " << url->getString());
    } else if (scheme == packedScheme("tel")) {
        KtTelURL* tel = new KtTelURL();
        result = tel;
        tel->m_Scheme = KtTelURL::sToken;
        tel->m_InBracket = inBracket;
        tel->parse(in);
        TORVANE_DEBUG(fileLogger(), "KtURI: parsed tel URL");
    } else {
        KtURI* uri = new KtURI();
        result = uri;
        uri->KtURI::parse(in);
        TORVANE_DEBUG(fileLogger(), "KtURI: parsed URL of unknown scheme");
    }
    return result;
}

KtURI* KtURI::sConstruct(const char* scheme) {
    if (sm_pConstructorMap != nullptr && scheme != nullptr) {
        ConstructorMap::const_iterator it = sm_pConstructorMap->find(KtString(scheme));
        if (it != sm_pConstructorMap->end()) return it->second();
    }
    KtURI* uri = new KtURI();
    uri->m_Scheme = KtString(scheme);
    return uri;
}

void KtURI::sAddConstructor(const char* scheme, Factory factory) {
    if (scheme == nullptr || factory == nullptr) return;
    if (sm_pConstructorMap == nullptr) {
        sm_pConstructorMap = new ConstructorMap();
        static const Torvane::AceCleanupLogger cleanup("KtURI");
        cleanup.registerCleanup(&deleteConstructorMap, sm_pConstructorMap);
    }
    // insert keeps an existing entry of the same scheme (compared without case).
    sm_pConstructorMap->insert(ConstructorMap::value_type(KtString(scheme), factory));
}
