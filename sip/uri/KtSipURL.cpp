// The sip: URL: scanner, text form, transport and equality.
#include "KtSipURL.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "KtHexEncoding.h"
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
const unsigned kBufferSize = 1024;

// A component being collected: at most kBufferSize - 1 bytes, always room for a NUL.
class WorkBuffer {
public:
    WorkBuffer() : m_Length(0) {}
    void put(int c) {
        if (m_Length >= kBufferSize - 1) KtSipParseError::sThrow(kOverflow);
        m_Data[m_Length++] = static_cast<char>(c);
    }
    void clear() { m_Length = 0; }
    unsigned length() const { return m_Length; }
    bool empty() const { return m_Length == 0; }
    const char* c_str() {
        m_Data[m_Length] = '\0';
        return m_Data;
    }
    KtString str() const { return KtString(m_Data, m_Length); }
    // Appends `n` bytes; throws like put when they would not fit.
    void append(const char* text, unsigned n) {
        if (n > kBufferSize - 1 - m_Length) KtSipParseError::sThrow(kOverflow);
        ktCopyBytes(m_Data + m_Length, text, n);
        m_Length += n;
    }

private:
    char m_Data[kBufferSize];
    unsigned m_Length;
};

inline bool isBlank(int c) { return c == ' ' || c == '\t'; }
// White space, a line end or the end of the input: the end of a bare URL.
inline bool isBlankOrEnd(int c) { return c < 0 || c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
inline bool isDigit(int c) { return c >= '0' && c <= '9'; }
inline bool isAlnum(int c) { return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Moves the bytes of `in` that belong to `set` into `buffer`, a window at a time, and stops
// before the first byte outside it (or at the end of the input).
void takeWhileIn(KtInputStream& in, const KtDelimiterSet& set, WorkBuffer& buffer) {
    for (;;) {
        const char* p = in.current();
        const char* end = in.end();
        const char* q = set.skipIn(p, end);
        buffer.append(p, static_cast<unsigned>(q - p));
        in.setCurrent(q);
        if (q < end || !in.fill()) return;
    }
}

inline void skipBlanks(KtInputStream& in) {
    while (isBlank(in.peek())) in.read();
}

// Characters of a host name or IPv4 address.
const KtDelimiterSet& hostChars() {
    static const KtDelimiterSet set("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._");
    return set;
}

// Characters inside an IPv6 reference "[...]" (hex digits, colons, dots, a zone index).
const KtDelimiterSet& ipv6Chars() {
    static const KtDelimiterSet set("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789:.%-_");
    return set;
}

// Characters written as they are in the header part; every other byte is escaped.
const KtDelimiterSet& headerSafeChars() {
    static const KtDelimiterSet set(
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'()[]/?:+$");
    return set;
}

// Writes `text` to `out` with the escaping of the header part: ";" and "=" as %3B and %3D,
// every byte outside headerSafeChars as "%" and two hexadecimal digits.
void writeEscaped(KtOutputStream& out, const KtString& text) {
    const char* p = text.c_str();
    const unsigned n = text.length();
    unsigned start = 0;
    for (unsigned i = 0; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(p[i]);
        if (headerSafeChars().contains(c)) continue;
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
        if (!isDigit(*q)) return -1;
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

    WorkBuffer buffer;
    skipBlanks(in);
    if (in.peek() == '<') {
        in.read();
        m_OpeningBracket = true;
        TORVANE_DEBUG(fileLogger(), "KtSipURL::parse(rInputStream) Found '<' setting Abracket to true");
        skipBlanks(in);
    }
    const bool bracketed = m_OpeningBracket || m_InBracket;

    if (!parseSchemeAndUserInPlace(in, bracketed)) {
        // Scheme.
        for (;;) {
            const int c = in.read();
            if (c == ':') break;
            if (isBlankOrEnd(c) || c == '>') KtSipParseError::sThrow(kWrongFormat);
            if (!isAlnum(c) && c != '+' && c != '-' && c != '.') KtSipParseError::sThrow(kIllegal);
            buffer.put(c);
        }
        // The usual spelling shares the class's constant instead of a new string per URL.
        m_Scheme = buffer.length() == 3 && std::memcmp(buffer.c_str(), "sip", 3) == 0 ? sToken : buffer.str();
        if (m_Scheme.get() != sToken.get() && m_Scheme.compareNoCase("sip") != 0)
            KtSipParseError::sThrow("Scheme is not SIP");

        // User info: look ahead for an "@" before the end of the URL.
        int userLength = -1;
        in.mark(kBufferSize);
        for (unsigned k = 0; k < kBufferSize; ++k) {
            const int c = in.read();
            if (c == '@') {
                userLength = static_cast<int>(k);
                break;
            }
            if (isBlankOrEnd(c) || c == '>' || c == '<') break;
            if (!bracketed && (c == ';' || c == '?' || c == ',')) break;
        }
        in.reset();
        if (userLength == 0) KtSipParseError::sThrow(kNoUser);
        if (userLength > 0) {
            buffer.clear();
            bool inPassword = false;
            for (int k = 0; k < userLength; ++k) {
                const int c = in.read();
                if (c == '"') KtSipParseError::sThrow(kIllegal);
                if (c == ':' && !inPassword) {
                    if (buffer.empty()) KtSipParseError::sThrow(kNoUser);
                    m_User = buffer.str();
                    buffer.clear();
                    inPassword = true;
                    continue;
                }
                buffer.put(c);
            }
            if (inPassword) {
                m_Password = buffer.str();
            } else {
                m_User = buffer.str();
            }
            in.read();  // the "@"
        }
    }

    // Host. The usual name or address ends inside the stream's window and is taken from
    // there; an IPv6 reference or a host running to the window's end is collected.
    buffer.clear();
    const char* const hostBegin = in.current();
    const char* const hostEnd = hostChars().skipIn(hostBegin, in.end());
    if (hostEnd > hostBegin && hostEnd < in.end() && hostEnd - hostBegin < static_cast<long>(kBufferSize)) {
        m_Host = KtString(hostBegin, static_cast<unsigned>(hostEnd - hostBegin));
        in.setCurrent(hostEnd);
    } else if (in.peek() == '[') {
        buffer.put(in.read());
        for (;;) {
            const int c = in.read();
            if (c == ']') break;
            if (isBlankOrEnd(c) || c == '>') KtSipParseError::sThrow(kWrongFormat);
            if (!ipv6Chars().contains(static_cast<unsigned char>(c))) KtSipParseError::sThrow(kIllegal);
            buffer.put(c);
        }
        buffer.put(']');
        if (buffer.length() == 2) KtSipParseError::sThrow(kWrongFormat);
        m_Host = buffer.str();
    } else {
        takeWhileIn(in, hostChars(), buffer);
        if (buffer.empty()) {
            const int c = in.peek();
            KtSipParseError::sThrow(isBlankOrEnd(c) || c == '>' || c == ';' || c == '?' || c == ',' || c == ':'
                                        ? kWrongFormat
                                        : kIllegal);
        }
        m_Host = buffer.str();
    }

    // Port.
    if (in.peek() == ':') {
        in.read();
        long port = 0;
        int digits = 0;
        while (isDigit(in.peek())) {
            port = port * 10 + (in.read() - '0');
            if (++digits > 5) KtSipParseError::sThrow(kWrongFormat);
        }
        if (digits == 0 || port > 65535) KtSipParseError::sThrow(kWrongFormat);
        const int c = in.peek();
        if (!isBlankOrEnd(c) && c != '>' && c != ';' && c != '?' && c != ',') KtSipParseError::sThrow(kWrongFormat);
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
        if (isBlankOrEnd(c)) {
            if (m_OpeningBracket) {
                // Inside "<...>" only blanks may stand before the closing bracket.
                skipBlanks(in);
                if (in.peek() != '>') KtSipParseError::sThrow(kWrongFormat);
                continue;
            }
            TORVANE_DEBUG(fileLogger(), "Parsed SipURL parameters (1): " << textOf(m_Parameters.peek()));
            return;
        }
        KtSipParseError::sThrow(kIllegal);
    }
}

// One parameter after its ";": name, then "=" and a value. An empty element (";;") is
// skipped; a later parameter of the same name replaces the earlier one. Stops before the
// character that ends the parameter.
// The scheme and user info of the usual URL, read in the stream's window: the scheme is
// "sip" exactly and the look-ahead for "@" ends inside the window. The bytes are checked as
// the general reader checks them, in the same order, with the same errors, and the stream is
// left where that reader leaves it (its mark included, and on an error just past the byte
// refused); user and password are made straight from the window. Returns false, having
// consumed nothing, when the general reader must run.
// Inlined into parse, its only caller.
__attribute__((always_inline)) inline bool KtSipURL::parseSchemeAndUserInPlace(KtInputStream& in, bool bracketed) {
    const char* p = in.current();
    const char* const end = in.end();
    if (end - p < 4 || std::memcmp(p, "sip:", 4) != 0) return false;
    const char* const user = p + 4;
    // Look-ahead for "@", as the general reader does it (at most kBufferSize bytes): it
    // stops at "@", white space, a line end, "<" or ">", and outside brackets at ";", "?" or ",".
    static const KtDelimiterSet inBrackets("@ \t\r\n<>");
    static const KtDelimiterSet bare("@ \t\r\n<>;?,");
    const KtDelimiterSet& stops = bracketed ? inBrackets : bare;
    const char* const limit = end - user > static_cast<long>(kBufferSize) ? user + kBufferSize : end;
    const char* q = stops.findIn(user, limit);
    if (q == end) return false;  // undecided inside the window
    const char* const at = q < limit && *q == '@' ? q : nullptr;
    m_Scheme = sToken;
    in.setCurrent(user);
    in.mark(kBufferSize);
    if (at == nullptr) return true;
    if (at == user) KtSipParseError::sThrow(kNoUser);
    const char* colon = nullptr;
    for (const char* r = user; r < at; ++r) {
        if (*r == '"') {
            in.setCurrent(r + 1);
            KtSipParseError::sThrow(kIllegal);
        }
        if (*r == ':' && colon == nullptr) {
            if (r == user) {
                in.setCurrent(r + 1);
                KtSipParseError::sThrow(kNoUser);
            }
            colon = r;
        }
    }
    if (colon == nullptr) {
        m_User = KtString(user, static_cast<unsigned>(at - user));
    } else {
        m_User = KtString(user, static_cast<unsigned>(colon - user));
        m_Password = KtString(colon + 1, static_cast<unsigned>(at - colon - 1));
    }
    in.setCurrent(at + 1);
    return true;
}

// Inlined into parse, its only caller.
__attribute__((always_inline)) inline void KtSipURL::parseParameter(KtInputStream& in) {
    // Bytes that need a decision; every other byte is taken as it stands.
    static const KtDelimiterSet plain(";?> \t\r\n\"<=", 11);
    static const KtDelimiterSet ordinary = KtDelimiterSet::sComplementOf(plain);
    // The usual parameter ends inside the stream's window: it is read in place, the bytes
    // taken as the loop below takes them. A byte that loop refuses, a parameter longer than
    // its work buffer or one running to the end of the window leaves it to the loop (nothing
    // consumed yet).
    const char* const begin = in.current();
    const char* const end = in.end();
    const char* eq = nullptr;  // the first "=": later ones belong to the value
    const char* q = begin;
    for (;;) {
        q = plain.findIn(q, end);
        if (q == end || *q != '=') break;
        if (eq == nullptr) eq = q;
        ++q;
    }
    if (q < end && *q != '"' && *q != '<' && *q != '\0' && q - begin < static_cast<long>(kBufferSize)) {
        in.setCurrent(q);
        if (eq == nullptr) {
            if (q > begin)
                m_Parameters.unshared().setValue(begin, static_cast<unsigned>(q - begin), nullptr, 0, false, KtParameters::sOwner);
            return;
        }
        if (eq == begin) KtSipParseError::sThrow(kWrongFormat);
        m_Parameters.unshared().setValue(begin, static_cast<unsigned>(eq - begin), eq + 1,
                                                 static_cast<unsigned>(q - eq - 1), true, KtParameters::sOwner);
        return;
    }
    WorkBuffer buffer;
    int nameLength = -1;
    for (;;) {
        takeWhileIn(in, ordinary, buffer);
        const int c = in.peek();
        if (c == ';' || c == '?' || c == '>' || isBlankOrEnd(c)) break;
        // A raw NUL is refused like the characters above: names and values are stored as
        // NUL-terminated texts, so it would cut them short and change what is written back.
        if (c == '"' || c == '<' || c == '\0') KtSipParseError::sThrow(kIllegal);
        in.read();
        if (c == '=' && nameLength < 0) {
            nameLength = static_cast<int>(buffer.length());
            buffer.put('\0');
            continue;
        }
        buffer.put(c);
    }
    const char* text = buffer.c_str();
    if (nameLength < 0) {
        if (!buffer.empty()) m_Parameters.unshared().setValue(text, nullptr, KtParameters::sOwner);
        return;
    }
    if (nameLength == 0) KtSipParseError::sThrow(kWrongFormat);
    m_Parameters.unshared().setValue(text, text + nameLength + 1, KtParameters::sOwner);
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
    char buffer[kBufferSize];
    std::memset(buffer, 0, sizeof buffer);
    unsigned w = 0;
    int valueStart = -1;
    bool quoted = false;
    const bool bare = !m_OpeningBracket && !m_InBracket;

    auto store = [&](int c) {
        if (w >= kBufferSize - 1) KtSipParseError::sThrow(kOverflow);
        buffer[w++] = static_cast<char>(c);
    };
    // Ends one header; `last` tells the end of the part from a ";".
    auto finish = [&](bool last) {
        buffer[w] = '\0';
        if (valueStart < 0 || valueStart == 1) {
            KtSipParseError::sThrow(last ? "SIP URL Header doesn't have Key/Value pair (1)\n"
                                         : "SIP URL Header doesn't have Key/Value pair (2)\n");
        }
        if (static_cast<unsigned>(valueStart) == w) {
            KtSipParseError::sThrow(last ? "SIP URL Header key doesn't have a value (1)\n"
                                         : "SIP URL Header key doesn't have a value (2)\n");
        }
        m_Headers.unshared().setValue(buffer, buffer + valueStart, KtParameters::sOwner);
        if (last) {
            TORVANE_DEBUG(fileLogger(), "SipURL headers now (3): " << textOf(m_Headers.peek()));
        } else {
            TORVANE_DEBUG(fileLogger(), "SipURL headers now (2): " << textOf(m_Headers.peek()));
        }
        w = 0;
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
        if (bare && !quoted && (c == ',' || isBlank(c))) {
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
                if (isBlank(next)) {
                    in.read();
                    break;
                }
                finish(true);
                return false;
            }
            case '=':
                if (valueStart < 0) {
                    store('\0');
                    valueStart = static_cast<int>(w);
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
