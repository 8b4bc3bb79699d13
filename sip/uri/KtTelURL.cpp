// The tel: URL.
#include "KtTelURL.h"

#include "KtScannerBuffer.h"
#include "KtSipParseError.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtTelURL")

const KtString KtTelURL::sToken(KtString::sStatic("tel"));

namespace {
const bool ktRegisteredTelURL =
    (KtURI::sAddConstructor(KtTelURL::sToken.c_str(), &KtURIConstructor<KtTelURL>::Constructor), true);

// A tel URL buffers at most 1023 characters; the next one is refused.
void throwTooLong() { KtSipParseError::sThrow("Invalid TelURL"); }

// A trimmed copy of the buffered characters from `from` on.
KtString trimmedSegment(const KtScannerBuffer& buffer, unsigned from) {
    KtString s(buffer.data() + from, buffer.length() - from);
    s.trim();
    return s;
}
}  // namespace

// The factory's object names its scheme; the one built from text leaves the scheme empty
// (getString does not use it).
KtTelURL::KtTelURL() : m_Parameters(new KtParameters(';')), m_IsGlobal(false) { m_Scheme = sToken; }

KtTelURL::KtTelURL(const char* text) : m_Parameters(new KtParameters(';')), m_IsGlobal(false) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtTelURL ctor");
    parse(text);
}

KtTelURL::KtTelURL(const KtTelURL& other)
    : KtURI(other), m_Number(other.m_Number), m_Parameters(new KtParameters(*other.m_Parameters)),
      m_IsGlobal(other.m_IsGlobal) {}

KtTelURL::~KtTelURL() {}

KtTelURL* KtTelURL::clone() const { return new KtTelURL(*this); }

bool KtTelURL::hasParameters() const { return !m_Parameters->empty(); }

bool KtTelURL::hasHeaders() const { return false; }

void KtTelURL::setNumber(const char* number) {
    m_Number = KtString(number);
    m_Number.trim();
    m_IsGlobal = m_Number.c_str()[0] == '+';
}

KtString KtTelURL::getParameter(const char* name) const { return m_Parameters->getValue(name); }

KtString KtTelURL::getString() const {
    KtString aString(KtStringBuffer::sCreate(nullptr, 0, 80));
    aString.append("tel:", 4);
    aString.append(m_Number.c_str(), m_Number.length());
    if (!m_Parameters->empty()) {
        aString.append(";", 1);
        KtString params = m_Parameters->getString();
        aString.append(params.c_str(), params.length());
    }
    return aString;
}

// One pass over the characters. The scheme letters are buffered too but fall outside the
// number segment, which starts at the colon. Without a "<" the URL ends at its first ";"
// (consumed): the parameters after it belong to the enclosing header.
void KtTelURL::parse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtTelURL::parse");
    enum State { Initial, Bracket, Colon, Plus, Params };
    KtScannerBuffer buffer(&throwTooLong);
    unsigned segment = 0;
    State state = Initial;
    bool bracketSeen = false;
    m_Number = KtString();
    m_IsGlobal = false;
    m_Parameters->clear();

    for (;;) {
        const int c = in.read();
        if (c < 0 || c == '\n' || c == '>') {
            if (state == Params) {
                m_Parameters->parse(buffer.c_str() + segment);
            } else if (state == Plus || state == Colon) {
                m_Number = trimmedSegment(buffer, segment);
                m_IsGlobal = state == Plus;
            }
            return;
        }
        switch (c) {
            case '<':
                state = Bracket;
                bracketSeen = true;
                break;
            case ':':
                if (state == Initial || state == Bracket) {
                    segment = buffer.length();
                    state = Colon;
                }
                break;
            case '+':
                if (state == Bracket || state == Colon) {
                    buffer.put('+');
                    state = Plus;
                } else if (state == Params) {
                    buffer.put('+');
                }
                break;
            case ';':
                if (state == Plus || state == Colon) {
                    m_Number = trimmedSegment(buffer, segment);
                    m_IsGlobal = state == Plus;
                    segment = buffer.length();
                    state = Params;
                } else if (state == Params) {
                    buffer.put(';');
                }
                if (!bracketSeen) return;
                break;
            default:
                buffer.put(c);
                break;
        }
    }
}
