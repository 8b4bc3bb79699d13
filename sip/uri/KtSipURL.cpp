// The sip: URL: scanner, text form, transport and equality.
#include "KtSipURL.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "KtHexEncoding.h"
#include "KtSipLexer.h"
#include "KtSipParseError.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipURL")

const KtString KtSipURL::sToken(KtString::sStatic("sip"));
const char KtSipURL::DEFAULT_PORT_STRING[] = "5060";
const int KtSipURL::DEFAULT_PORT;

namespace {

const bool ktRegisteredSipURL =
    (KtURI::sAddConstructor(KtSipURL::sToken.c_str(), &KtURIConstructor<KtSipURL>::Constructor), true);

// Event counted each time a "transport" parameter names neither udp nor tcp.
std::atomic<unsigned long> sUnknownTransportInContact(0);

const char kOverflow[] = "Invalid SIP URL - Buffer overflow";
const char kWrongFormat[] = "Sip URL wrong format";
const char kNoUser[] = "Sip URL wrong format (\"@\" present without a user part)";
const char kIllegal[] = "Illegal URL construct";

// Size of the work buffers: a component may hold at most 1023 characters.
const unsigned kBufferSize = KtScannerBuffer::CAPACITY + 1;

void throwOverflow() { KtSipParseError::sThrow(kOverflow); }

// Characters of a scheme.
constexpr KtDelimiterSet kSchemeChars("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+-.");

// Where the look-ahead for the "@" of the user info stops, in brackets and outside them.
constexpr KtDelimiterSet kUserStopsInBrackets("@ \t\r\n<>");
constexpr KtDelimiterSet kUserStopsBare("@ \t\r\n<>;?,");

// Characters of a host name or IPv4 address.
constexpr KtDelimiterSet kHostChars("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._");

// Characters inside an IPv6 reference "[...]" (hex digits, colons, dots, a zone index).
constexpr KtDelimiterSet kIpv6Chars("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789:.%-_");

// Characters written as they are in the header part; every other byte is escaped.
constexpr KtDelimiterSet kHeaderSafeChars(
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'()[]/?:+$");

// Writes `text` to `out` with the escaping of the header part: ";" and "=" as %3B and %3D,
// every byte outside kHeaderSafeChars as "%" and two hexadecimal digits.
void writeEscaped(KtOutputStream& out, const KtString& text) {
    const char* p = text.c_str();
    const unsigned n = text.length();
    unsigned start = 0;
    for (unsigned i = 0; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(p[i]);
        if (kHeaderSafeChars.contains(c)) continue;
        out.write(p + start, i - start);
        if (c == ';') {
            out.write("%3B", 3);
        } else if (c == '=') {
            out.write("%3D", 3);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "%%%02x", c);
            out.write(hex, 3);
        }
        start = i + 1;
    }
    out.write(p + start, n - start);
}

// The size of a list not made yet is zero.
unsigned sizeOf(const KtParameters* list) { return list != nullptr ? list->size() : 0; }

// The text of a list for the debug log; a list not made yet is empty.
KtString textOf(const KtParameters* list) { return list != nullptr ? list->getString() : KtString(); }

}  // namespace

KtSipURL::KtSipURL()
    : m_Port(DEFAULT_PORT), m_PortGiven(false), m_OpeningBracket(false) {
    m_IsSipURL = true;
    m_Scheme = sToken;
}

KtSipURL::KtSipURL(const char* text)
    : m_Port(DEFAULT_PORT), m_PortGiven(false), m_OpeningBracket(false) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipURL ctor");
    m_IsSipURL = true;
    m_InBracket = true;
    m_Scheme = sToken;
    parse(text);
}

KtSipURL::KtSipURL(const KtSipURL& other)
    : KtURI(other), m_User(other.m_User), m_Password(other.m_Password), m_Host(other.m_Host),
      m_Port(other.m_Port), m_PortGiven(other.m_PortGiven), m_Parameters(KtParameters::sCloneOf(other.m_Parameters.peek())),
      m_Headers(KtParameters::sCloneOf(other.m_Headers.peek())), m_OpeningBracket(other.m_OpeningBracket) {
    m_IsSipURL = true;
}

KtSipURL* KtSipURL::clone() const { return new KtSipURL(*this); }

bool KtSipURL::hasParameters() const { return sizeOf(m_Parameters.peek()) != 0; }

bool KtSipURL::hasHeaders() const { return sizeOf(m_Headers.peek()) != 0; }

int KtSipURL::numParameters() const { return static_cast<int>(sizeOf(m_Parameters.peek())); }

int KtSipURL::numHeaders() const { return static_cast<int>(sizeOf(m_Headers.peek())); }

KtString KtSipURL::getParameter(const char* name) const { return KtParameters::sValueIn(m_Parameters.peek(), name); }

KtString KtSipURL::getHeader(const char* name) const { return KtParameters::sValueIn(m_Headers.peek(), name); }

void KtSipURL::setParameter(const char* name, const char* value) { m_Parameters->setValue(name, value); }

void KtSipURL::setHeader(const char* name, const char* value) { m_Headers->setValue(name, value); }

KtString KtSipURL::getUserParam() const { return getParameter("user"); }

KtString KtSipURL::getMethodParam() const { return getParameter("method"); }

KtString KtSipURL::getMAddrParam() const { return getParameter("maddr"); }

int KtSipURL::getTTL() const {
    KtString ttl = getParameter("ttl");
    if (ttl.empty()) return -1;
    const char* p = ttl.c_str();
    for (const char* q = p; *q; ++q) {
        if (!KtSipLexer::sIsDigit(*q)) return -1;
    }
    char* end = nullptr;
    long value = std::strtol(p, &end, 10);
    if (value > 0x7fffffffL) return -1;
    return static_cast<int>(value);
}

unsigned long KtSipURL::sUnknownTransportCount() { return sUnknownTransportInContact.load(); }

KtSipURL::Transport KtSipURL::getTransportParam() const {
    KtString transport = getParameter("transport");
    if (transport.empty() || transport.compareNoCase("udp") == 0) return UDP;
    if (transport.compareNoCase("tcp") == 0) return TCP;
    TORVANE_DEBUG(fileLogger(), "Contact header contains unknown transport : " << transport
                                                                             << ". Using default UDP transport");
    sUnknownTransportInContact.fetch_add(1);
    return UDP;
}

KtString KtSipURL::getString() const {
    KtByteArrayOutputStream out(80);
    write(out);
    return KtString(out.data(), out.size());
}

void KtSipURL::write(KtOutputStream& out) const {
    out.write("sip:", 4);
    if (!m_User.empty()) {
        out << m_User;
        if (!m_Password.empty()) {
            out.put(':');
            out << m_Password;
        }
        out.put('@');
    }
    out << m_Host;
    if (m_PortGiven) {
        out.put(':');
        out << m_Port;
    }
    if (const KtParameters* parameters = m_Parameters.peek()) parameters->serializeWithLead(out, ';');
    const KtParameters* headerList = m_Headers.peek();
    const unsigned headers = sizeOf(headerList);
    if (headers > 0) {
        out.put('?');
        for (unsigned i = 0; i < headers; ++i) {
            if (i > 0) out.put(';');
            writeEscaped(out, headerList->getName(i));
            out.put('=');
            writeEscaped(out, headerList->getValueAt(i));
        }
    }
}

// The scanner. Components in order: an optional "<", the scheme up to ":", the user info
// up to "@" (found by looking ahead), the host (a name, an IPv4 address or an IPv6
// reference in square brackets), an optional port, parameters after ";", headers after "?".
//
// Where the URL ends:
// - In brackets (opened by "<", or the in-bracket flag set): parameters belong to the URL; a
//   ">" closes a URL opened by "<" and is consumed; white space inside "<...>" may only be
//   followed by the ">".
// - Bare (no "<", flag false): the first ";" ends the URL (what follows is the enclosing
//   header's parameters); "," ends it, so that comma-separated header values split; white
//   space, CR, LF and ">" end it. None of these is consumed.
// The user part may contain ";", "?", "," and ":" (RFC 3261 user-unreserved): it is the text
// before the first "@" that comes before the end of the URL (for a bare URL, before the
// first ";", "?" or ","). Escapes outside the header part are kept as written.
void KtSipURL::parse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipURL::parse");
    m_User = KtString();
    m_Password = KtString();
    m_Host = KtString();
    m_Port = DEFAULT_PORT;
    m_PortGiven = false;
    // The URL's own lists, reached by other threads only through a shared URL, which is not
    // parsed: they are filled without their mutexes.
    if (KtParameters* parameters = m_Parameters.peek()) parameters->clear(KtParameters::sOwner);
    if (KtParameters* headers = m_Headers.peek()) headers->clear(KtParameters::sOwner);
    m_OpeningBracket = false;

    KtSipLexer::sSkipBlanks(in);
    if (in.peek() == '<') {
        in.read();
        m_OpeningBracket = true;
        TORVANE_DEBUG(fileLogger(), "KtSipURL::parse(rInputStream) Found '<' setting Abracket to true");
        KtSipLexer::sSkipBlanks(in);
    }
    const bool bracketed = m_OpeningBracket || m_InBracket;

    // Each component is a span: where it stands in the stream's window when it ends there,
    // else collected into `buffer` (at most 1023 bytes).
    KtScannerBuffer buffer;
    const char* b = nullptr;
    const char* e = nullptr;

    // Scheme: letters, digits, "+", "-" and "." up to the ":". A scheme longer than the
    // buffer is refused as its 1024th byte is read. The usual "sip:" in the window is taken
    // at once and shares the class's constant instead of a new string per URL.
    if (in.end() - in.current() >= 4 && std::memcmp(in.current(), "sip:", 4) == 0) {
        in.advance(4);
        m_Scheme = sToken;
    } else {
        if (!KtSipLexer::sTakeWhile(in, kSchemeChars, buffer, b, e)) {
            in.skip(kBufferSize - buffer.length());
            KtSipParseError::sThrow(kOverflow);
        }
        KtString scheme(b, static_cast<unsigned>(e - b));
        const int colon = in.read();
        if (colon != ':')
            KtSipParseError::sThrow(KtSipLexer::sIsWhiteOrEnd(colon) || colon == '>' ? kWrongFormat : kIllegal);
        m_Scheme = scheme;
        if (m_Scheme.compareNoCase("sip") != 0) KtSipParseError::sThrow("Scheme is not SIP");
    }

    // User info: the text before an "@" met within kBufferSize bytes, before white space, a
    // line end, "<" or ">" and, outside brackets, ";", "?" or ",". The stream is marked where
    // the user info would start and goes back there when there is none. A byte refused
    // inside it is refused with the stream just past that byte.
    in.mark(kBufferSize);
    const KtDelimiterSet& userStops = bracketed ? kUserStopsInBrackets : kUserStopsBare;
    if (KtSipLexer::sTakeUntil(in, userStops, buffer, b, e) && in.peek() == '@') {
        if (b == e) {
            in.reset();
            KtSipParseError::sThrow(kNoUser);
        }
        auto refuse = [&](const char* at, const char* text) {
            const unsigned consumed = static_cast<unsigned>(at - b) + 1;
            in.reset();
            in.skip(consumed);
            KtSipParseError::sThrow(text);
        };
        const char* split = nullptr;  // the first ":" parts user and password
        for (const char* r = b; r < e; ++r) {
            if (*r == '"') refuse(r, kIllegal);
            if (*r == ':' && split == nullptr) {
                if (r == b) refuse(r, kNoUser);
                split = r;
            }
        }
        if (split == nullptr) {
            m_User = KtString(b, static_cast<unsigned>(e - b));
        } else {
            m_User = KtString(b, static_cast<unsigned>(split - b));
            m_Password = KtString(split + 1, static_cast<unsigned>(e - split - 1));
        }
        in.read();  // the "@"
    } else {
        in.reset();
    }

    // Host: an IPv6 reference collected byte by byte, or a run of host characters.
    if (in.peek() == '[') {
        KtScannerBuffer reference(&throwOverflow);
        reference.put(in.read());
        for (;;) {
            const int c = in.read();
            if (c == ']') break;
            if (KtSipLexer::sIsWhiteOrEnd(c) || c == '>') KtSipParseError::sThrow(kWrongFormat);
            if (!kIpv6Chars.contains(static_cast<unsigned char>(c))) KtSipParseError::sThrow(kIllegal);
            reference.put(c);
        }
        reference.put(']');
        if (reference.length() == 2) KtSipParseError::sThrow(kWrongFormat);
        m_Host = reference.str();
    } else {
        if (!KtSipLexer::sTakeWhile(in, kHostChars, buffer, b, e)) KtSipParseError::sThrow(kOverflow);
        if (b == e) {
            const int c = in.peek();
            KtSipParseError::sThrow(KtSipLexer::sIsWhiteOrEnd(c) || c == '>' || c == ';' || c == '?' || c == ',' ||
                                            c == ':'
                                        ? kWrongFormat
                                        : kIllegal);
        }
        m_Host = KtString(b, static_cast<unsigned>(e - b));
    }

    // Port.
    if (in.peek() == ':') {
        in.read();
        long port = 0;
        int digits = 0;
        while (KtSipLexer::sIsDigit(in.peek())) {
            port = port * 10 + (in.read() - '0');
            if (++digits > 5) KtSipParseError::sThrow(kWrongFormat);
        }
        if (digits == 0 || port > 65535) KtSipParseError::sThrow(kWrongFormat);
        const int c = in.peek();
        if (!KtSipLexer::sIsWhiteOrEnd(c) && c != '>' && c != ';' && c != '?' && c != ',')
            KtSipParseError::sThrow(kWrongFormat);
        m_Port = static_cast<int>(port);
        m_PortGiven = true;
    }

    // Parameters, headers and the end of the URL.
    for (;;) {
        const int c = in.peek();
        if (c == ';') {
            if (!bracketed) return;
            in.read();
            parseParameter(in);
            continue;
        }
        if (c == '?') {
            in.read();
            TORVANE_DEBUG(fileLogger(), "Parsed SipURL parameters (2): " << textOf(m_Parameters.peek()));
            const bool closed = parseHeaderPart(in);
            if (m_OpeningBracket && !closed) KtSipParseError::sThrow(kWrongFormat);
            return;
        }
        if (c == ',' && !bracketed) return;
        if (c == '>') {
            if (m_OpeningBracket) {
                in.read();
                TORVANE_DEBUG(fileLogger(), "KtSipURL::parse(rInputStream) '>' found");
            }
            TORVANE_DEBUG(fileLogger(), "Parsed SipURL parameters (1): " << textOf(m_Parameters.peek()));
            return;
        }
        if (KtSipLexer::sIsWhiteOrEnd(c)) {
            if (m_OpeningBracket) {
                // Inside "<...>" only blanks may stand before the closing bracket.
                KtSipLexer::sSkipBlanks(in);
                if (in.peek() != '>') KtSipParseError::sThrow(kWrongFormat);
                continue;
            }
            TORVANE_DEBUG(fileLogger(), "Parsed SipURL parameters (1): " << textOf(m_Parameters.peek()));
            return;
        }
        KtSipParseError::sThrow(kIllegal);
    }
}

// One parameter after its ";": name, then "=" and a value (later "=" belong to the value).
// An empty element (";;") is skipped; a later parameter of the same name replaces the
// earlier one. Stops before the byte that ends the parameter; a quote, "<" or raw NUL there
// is refused (names and values are stored as NUL-terminated texts, so a NUL would cut them
// short and change what is written back).
//
// A parameter holds at most 1023 bytes. One longer is refused with the stream where reading
// it piece by piece leaves it: after an "=" that does not fit, else at the start of the run
// of other bytes that does not fit (a run also ends where the stream's window ends).
// Inlined into parse, its only caller.
KT_ALWAYS_INLINE void KtSipURL::parseParameter(KtInputStream& in) {
    static const KtDelimiterSet stops(";?> \t\r\n\"<", 10);  // the NUL included
    KtScannerBuffer buffer;
    const char* b = nullptr;
    const char* e = nullptr;
    if (!KtSipLexer::sTakeUntil(in, stops, buffer, b, e)) {
        // The stream stands at the window's piece that did not fit, which holds the byte
        // at the limit.
        const char* const first = in.current();
        const char* const at = first + (KtScannerBuffer::CAPACITY - buffer.length());
        const char* r = at + 1;
        if (*at != '=')
            for (r = at; r > first && r[-1] != '=';) --r;
        in.setCurrent(r);
        KtSipParseError::sThrow(kOverflow);
    }
    const int c = in.peek();
    if (c == '"' || c == '<' || c == '\0') KtSipParseError::sThrow(kIllegal);
    const char* const eq = ktFindByte(b, e, '=');
    if (eq == e) {
        if (b < e)
            m_Parameters.unshared().setValue(b, static_cast<unsigned>(e - b), nullptr, 0, false, KtParameters::sOwner);
        return;
    }
    if (eq == b) KtSipParseError::sThrow(kWrongFormat);
    m_Parameters.unshared().setValue(b, static_cast<unsigned>(eq - b), eq + 1, static_cast<unsigned>(e - eq - 1), true,
                                     KtParameters::sOwner);
}

void KtSipURL::parseHeader(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipURL::parseHeader");
    parseHeaderPart(in);
}

// The header part: name=value pairs separated by ";", %xx decoded. Returns true when it
// was ended by the ">" that closes a URL opened by "<" (consumed). A ">" in a URL read
// with the in-bracket flag but without "<" is data; in a bare URL a ">", ",", or white space
// ends the part without being consumed (elsewhere blanks outside quotes are dropped).
// A pair with an empty name is refused like a pair without "="; an escape that is not two
// hexadecimal digits, or that decodes to NUL (which would cut the stored value short), and
// a raw NUL byte are refused as "Illegal URL construct".
bool KtSipURL::parseHeaderPart(KtInputStream& in) {
    KtScannerBuffer buffer(&throwOverflow);
    int valueStart = -1;
    bool quoted = false;
    const bool bare = !m_OpeningBracket && !m_InBracket;

    auto store = [&](int c) { buffer.put(c); };
    // Ends one header; `last` tells the end of the part from a ";".
    auto finish = [&](bool last) {
        const char* const text = buffer.c_str();
        if (valueStart < 0 || valueStart == 1) {
            KtSipParseError::sThrow(last ? "SIP URL Header doesn't have Key/Value pair (1)\n"
                                         : "SIP URL Header doesn't have Key/Value pair (2)\n");
        }
        if (static_cast<unsigned>(valueStart) == buffer.length()) {
            KtSipParseError::sThrow(last ? "SIP URL Header key doesn't have a value (1)\n"
                                         : "SIP URL Header key doesn't have a value (2)\n");
        }
        m_Headers.unshared().setValue(text, text + valueStart, KtParameters::sOwner);
        if (last) {
            TORVANE_DEBUG(fileLogger(), "SipURL headers now (3): " << textOf(m_Headers.peek()));
        } else {
            TORVANE_DEBUG(fileLogger(), "SipURL headers now (2): " << textOf(m_Headers.peek()));
        }
        buffer.clear();
        valueStart = -1;
        quoted = false;
    };

    for (;;) {
        const int c = in.peek();
        if (c < 0) {
            finish(true);
            return false;
        }
        if (c == '>') {
            if (m_OpeningBracket) {
                in.read();
                finish(true);
                return true;
            }
            if (bare) {
                finish(true);
                return false;
            }
            TORVANE_DEBUG(fileLogger(), "KtSipURL::parse(rInputStream) '>' after '?' && inBracket: keeping it");
        }
        if (bare && !quoted && (c == ',' || KtSipLexer::sIsBlank(c))) {
            finish(true);
            return false;
        }
        in.read();
        switch (c) {
            case '%': {
                char hex[3];
                const int h1 = in.read();
                const int h2 = h1 < 0 ? -1 : in.read();
                if (h2 < 0) KtSipParseError::sThrow(kIllegal);
                hex[0] = static_cast<char>(h1);
                hex[1] = static_cast<char>(h2);
                hex[2] = '\0';
                const int decoded = KtHexEncoding::fromHex(hex);
                // A NUL would cut the stored value short: refuse it.
                if (decoded <= 0) KtSipParseError::sThrow(kIllegal);
                store(decoded);
                break;
            }
            case '\r':
                break;
            case ' ':
            case '\t':
                if (quoted) store(c);
                break;
            case '"':
                quoted = !quoted;
                store(c);
                break;
            case '\n': {
                const int next = in.peek();
                if (KtSipLexer::sIsBlank(next)) {
                    in.read();
                    break;
                }
                finish(true);
                return false;
            }
            case '=':
                if (valueStart < 0) {
                    store('\0');
                    valueStart = static_cast<int>(buffer.length());
                } else {
                    store(c);
                }
                break;
            case ';':
                finish(false);
                break;
            case '\0':
                // Refused for the same reason as an escaped NUL above: the pair is stored
                // as NUL-terminated texts (a raw NUL first emptied the value unnoticed).
                KtSipParseError::sThrow(kIllegal);
            default:
                store(c);
                break;
        }
    }
}

// Equality in this order, stopping at the first difference: user and host (exact), port
// (this URL's stored port against the other's port, or 5060 when the other gave none:
// the asymmetry is deliberate), transport, password (exact), then the parameters.
//
// Parameters: the list with more entries is walked; counts that differ by more than one
// are unequal, and the one extra entry tolerated is transport=udp. Every other parameter
// must be present in both lists with the same value (names and values compared exactly;
// "transport" itself is settled by the transport comparison). Headers take no part.
bool KtSipURL::operator==(const KtSipURL& other) const {
    if (m_User != other.m_User) return false;
    if (m_Host != other.m_Host) return false;
    const int otherPort = other.m_PortGiven ? other.m_Port : DEFAULT_PORT;
    if (m_Port != otherPort) return false;
    if (getTransportParam() != other.getTransportParam()) return false;
    if (m_Password != other.m_Password) return false;

    const KtParameters* longer = m_Parameters.get().get();
    const KtParameters* shorter = other.m_Parameters.get().get();
    if (longer->size() < shorter->size()) {
        const KtParameters* t = longer;
        longer = shorter;
        shorter = t;
    }
    const unsigned extra = longer->size() - shorter->size();
    if (extra > 1) return false;
    unsigned missing = 0;
    for (unsigned i = 0; i < longer->size(); ++i) {
        const KtString name = longer->getName(i);
        if (shorter->hasName(name.c_str())) {
            if (name == "transport") continue;
            if (longer->getValueAt(i) != shorter->getValue(name.c_str())) return false;
            continue;
        }
        if (name == "transport" && longer->getValueAt(i).compareNoCase("udp") == 0) {
            ++missing;
            continue;
        }
        return false;
    }
    return missing == extra;
}
