// The Via header.
#include "KtSipViaHeader.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "KtSipLexer.h"
#include "KtStreamTokenizer.h"
#include "TorvaneUUID.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipViaHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipViaHeader, "Via", "v")

const char KtSipViaHeader::sBranch[] = "branch";
const char KtSipViaHeader::sReceived[] = "received";
const char KtSipViaHeader::sMAddr[] = "maddr";
const char KtSipViaHeader::sTTL[] = "ttl";
const char KtSipViaHeader::sHidden[] = "hidden";
const char KtSipViaHeader::sSentBy[] = "sent-by";
const char KtSipViaHeader::sProtocolVersion[] = "2.0";
const char KtSipViaHeader::sMagicCookie[] = "z9hG4bK";

namespace {

const char kInvalidVia[] = "Invalid Via header";
const char kInvalidTTL[] = "Invalid value for ttl parameter in Via header";

// Protocol names, versions and transports longer than this are refused.
const unsigned kMaxWord = 32;

// Shared strings for the values nearly every Via holds, so that a default header and a
// parsed "SIP/2.0/UDP" or "SIP/2.0/TCP" allocate nothing for them. Inlined: every Via made
// or read asks for them.
enum SharedWord { kSIP, kVersion, kUDP, kTCP };
KT_ALWAYS_INLINE const KtString& sharedWord(SharedWord word) {
    static const KtString sWords[] = {KtString::sStatic(KtSipHeader::sSIP),
                                      KtString::sStatic(KtSipViaHeader::sProtocolVersion),
                                      KtString::sStatic(KtSipHeader::sUDP), KtString::sStatic(KtSipHeader::sTCP)};
    return sWords[word];
}

// The protocol name and version end at "/"; a comma or the line end means the "/" is missing.
constexpr KtDelimiterSet kProtocolStops("/,\r\n");
// Inside an IPv6 reference: up to the closing bracket, never past the element.
constexpr KtDelimiterSet kIPv6Stops("] \t,;\r\n");

// Reads one word of the sent protocol (up to a byte of `stops`), trimmed, into `field`,
// reusing `shared` when the text equals it (and `other` likewise). Throws "Invalid Via
// header" for a word longer than kMaxWord bytes.
void readWord(KtInputStream& in, const KtDelimiterSet& stops, KtConstString& field, bool upper,
              const KtString& shared, const KtString* other) {
    char word[kMaxWord + 1];
    int length = KtSipLexer::sReadBounded(in, stops, word, sizeof word);
    if (length < 0) KtSipParseError::sThrow(kInvalidVia);
    unsigned n = KtSipLexer::sTrimBlanksEnd(word, static_cast<unsigned>(length));
    if (upper) {
        for (unsigned i = 0; i < n; ++i)
            if (word[i] >= 'a' && word[i] <= 'z') word[i] = static_cast<char>(word[i] - 'a' + 'A');
    }
    if (shared.compareWith(word) == 0)
        field = KtConstString(shared);
    else if (other && other->compareWith(word) == 0)
        field = KtConstString(*other);
    else
        field.assign(word, n);
}

// The sent-protocol nearly every Via carries, "SIP/2.0/UDP" or "SIP/2.0/TCP" directly followed
// by a delimiter, read in the stream's window. The general reader gives exactly these fields for
// that text (each word equals a shared constant), so they are set from the constants at once.
// Returns false, having consumed only the blanks in front, when the general reader must run.
bool readUsualProtocol(KtInputStream& in, KtConstString& protocol, KtConstString& version,
                       KtConstString& transport) {
    KtSipLexer::sSkipBlanks(in);
    const char* p = in.current();
    if (in.end() - p < 12 || std::memcmp(p, "SIP/2.0/", 8) != 0) return false;
    const KtString* shared;
    if (std::memcmp(p + 8, "UDP", 3) == 0)
        shared = &sharedWord(kUDP);
    else if (std::memcmp(p + 8, "TCP", 3) == 0)
        shared = &sharedWord(kTCP);
    else
        return false;
    if (!KtSipHeader::sDelimeterSet().contains(static_cast<unsigned char>(p[11]))) return false;
    protocol = KtConstString(sharedWord(kSIP));
    version = KtConstString(sharedWord(kVersion));
    transport = KtConstString(*shared);
    in.setCurrent(p + 11);
    return true;
}
// Reads the sent-by host from the stream, across refills: an IPv6 reference up to its closing
// bracket, kept whole with its brackets, or else the text up to a delimiter, trimmed.
KtString readHost(KtInputStream& in) {
    KtString host;
    KtStringBuffer* hostBuffer = host.mutableBuffer();
    if (in.peek() == '[') {
        in.read();
        hostBuffer->parse(in, kIPv6Stops);
        if (in.peek() != ']' || hostBuffer->empty()) KtSipParseError::sThrow(kInvalidVia);
        in.read();
        KtString reference("[");
        reference.append(hostBuffer->c_str(), hostBuffer->length());
        reference.append("]");
        return reference;
    }
    hostBuffer->parse(in, KtSipHeader::sDelimeterSet());
    hostBuffer->trim();
    return host;
}
// Consumes the "/" that must follow a protocol word.
void expectSlash(KtInputStream& in) {
    if (in.peek() != '/') KtSipParseError::sThrow(kInvalidVia);
    in.read();
}

}  // namespace

void KtSipViaHeader::parseParameters(KtInputStream& in) {
    // The parameters end at the "," of the next element, at the line end, or at a "(" that
    // opens a trailing comment (the RFC 2543 form "branch=1 (comment)"), never inside a
    // quoted value. The buffered bytes are scanned in place; when the element does not end
    // inside them the list reads the stream itself (and stops at "," or the line end).
    const char* begin = in.current();
    const char* end = in.end();
    // Without a "(" in the buffered bytes there is no comment to stop at: the usual case,
    // told by one memchr instead of a walk over the parameters.
    if (std::memchr(begin, '(', static_cast<std::size_t>(end - begin)) == nullptr) {
        m_parameters->parse(in, KtParameters::sOwner);
        return;
    }
    const char* p = begin;
    bool quoted = false;
    for (; p < end; ++p) {
        const char c = *p;
        if (quoted) {
            if (c == '\\' && p + 1 < end)
                ++p;
            else if (c == '"')
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',' || c == '\r' || c == '\n' || c == '(') {
            break;
        }
    }
    if (p < end && *p == '(') {
        KtByteArrayInputStream element(begin, static_cast<unsigned>(p - begin));
        m_parameters->parse(element, KtParameters::sOwner);
        in.setCurrent(p);
    } else {
        m_parameters->parse(in, KtParameters::sOwner);
    }
}

KtSipViaHeader::KtSipViaHeader()
    : m_parameters(new KtParameters(';')),
      m_protocol(sharedWord(kSIP)),
      m_version(sharedWord(kVersion)),
      m_transport(sharedWord(kUDP)),
      m_port(5060),
      m_hasPort(false) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipViaHeader default ctor");
}

KtSipViaHeader::KtSipViaHeader(const char* host, unsigned port, const char* transport)
    : m_parameters(new KtParameters(';')),
      m_protocol(sharedWord(kSIP)),
      m_version(sharedWord(kVersion)),
      m_port(port),
      m_hasPort(true) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipViaHeader ctor");
    m_host.assign(host);
    setTransport(transport);
    checkFields(true);
}

KtSipViaHeader::KtSipViaHeader(const KtSipViaHeader& other)
    : KtSipCompactHeaderImpl<KtSipViaHeader, HeaderVia>(other),
      m_parameters(other.m_parameters.isNil() ? new KtParameters(';') : other.m_parameters->clone()),
      m_protocol(other.m_protocol),
      m_version(other.m_version),
      m_transport(other.m_transport),
      m_host(other.m_host),
      m_port(other.m_port),
      m_hasPort(other.m_hasPort),
      m_comment(other.m_comment) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipViaHeader copy ctor");
}

void KtSipViaHeader::setTransport(const char* transport) {
    m_transport.assign(transport);
    m_transport.toUpper();
}

unsigned KtSipViaHeader::getTTL() const {
    if (m_parameters.isNil()) return 1;
    KtString ttl = m_parameters->getValue(sTTL);
    if (ttl.isNil()) return 1;
    return static_cast<unsigned>(std::strtol(ttl.c_str(), nullptr, 10));
}

void KtSipViaHeader::setBranchRFC3261() {
    char branch[50];
    std::memcpy(branch, sMagicCookie, sizeof sMagicCookie - 1);
    Torvane::UUID::uuid_create_string(branch + sizeof sMagicCookie - 1);
    m_parameters->setValue(sBranch, branch);
}

bool KtSipViaHeader::compare(KtHandle<KtSipViaHeader> other) const {
    if (other.isNil()) return false;
    return m_protocol.compare(other->m_protocol.c_str()) == 0 && m_version.compare(other->m_version.c_str()) == 0 &&
           m_host.compare(other->m_host.c_str()) == 0 && m_port == other->m_port &&
           m_transport.compare(other->m_transport.c_str()) == 0;
}

void KtSipViaHeader::checkValidity() const { checkFields(false); }

void KtSipViaHeader::checkFields(bool fresh) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipViaHeader::checkValidity");
    if (m_protocol.empty() || m_version.empty() || m_transport.empty() || m_host.empty())
        KtSipParseError::sThrow(kInvalidVia);
    if (m_parameters.isNil()) return;
    const KtParameters& parameters = *m_parameters;
    if (!(fresh ? parameters.hasName(sTTL, KtParameters::sOwner) : parameters.hasName(sTTL))) return;
    // ttl = 1*3DIGIT, 0 to 255. A bare "ttl", a value with anything but digits and a value
    // that does not fit are refused as well as one above 255.
    KtString ttl = fresh ? parameters.getValue(sTTL, KtParameters::sOwner) : parameters.getValue(sTTL);
    const char* text = ttl.c_str();
    unsigned length = ttl.length();
    if (length == 0 || length > 10 || KtSipLexer::sSkipDigits(text, text + length) != text + length)
        KtSipParseError::sThrow(kInvalidTTL);
    if (std::strtol(text, nullptr, 10) > 255) KtSipParseError::sThrow(kInvalidTTL);
}

void KtSipViaHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipViaHeader::doParse");
    // sent-protocol: name "/" version "/" transport
    if (!readUsualProtocol(in, m_protocol, m_version, m_transport)) {
        readWord(in, kProtocolStops, m_protocol, false, sharedWord(kSIP), nullptr);
        expectSlash(in);
        readWord(in, kProtocolStops, m_version, false, sharedWord(kVersion), nullptr);
        expectSlash(in);
        readWord(in, KtSipHeader::sDelimeterSet(), m_transport, true, sharedWord(kUDP), &sharedWord(kTCP));
    }

    // sent-by host. "[" is a token delimiter, so an IPv6 reference is read here up to its
    // closing bracket and kept whole, brackets included, so that it is written back as
    // received.
    KtSipLexer::sSkipBlanks(in);
    // The usual host ends at a delimiter inside the window and holds no white space (white space
    // delimits it): it is taken where it stands, as readHost would collect it.
    const char* hostStart = in.current();
    const char* hostEnd = KtSipHeader::sDelimeterSet().findIn(hostStart, in.end());
    if (hostStart < in.end() && *hostStart != '[' && hostEnd < in.end()) {
        m_host.assign(hostStart, static_cast<unsigned>(hostEnd - hostStart));
        in.setCurrent(hostEnd);
    } else {
        const KtString host = readHost(in);
        m_host = host.empty() ? KtConstString() : KtConstString(host);
    }

    m_port = 5060;
    m_hasPort = false;
    m_comment.releaseBuffer();
    if (m_parameters.isNil())
        m_parameters = new KtParameters(';');
    else
        m_parameters->clear(KtParameters::sOwner);
    // Port, comment and parameters in any order; each step consumes at least one byte.
    for (;;) {
        KtSipLexer::sSkipBlanks(in);
        int c = in.peek();
        if (c == ':') {
            in.read();
            unsigned port = 0;
            if (!KtStreamTokenizer::sGetUnsigned(in, port)) KtSipParseError::sThrow(kInvalidVia);
            m_port = port;
            m_hasPort = true;
        } else if (c == '(') {
            in.read();
            KtString comment;
            comment.mutableBuffer()->parse(in, KtSipLexer::sCommentEnd());
            if (in.peek() != ')') KtSipParseError::sThrow(kInvalidVia);
            in.read();
            comment.trim();
            m_comment = comment.empty() ? KtConstString() : KtConstString(comment);
        } else if (c == ';') {
            in.read();
            parseParameters(in);
        } else {
            break;
        }
    }
    checkFields(true);
}

void KtSipViaHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipViaHeader::doSerialize");
    out << m_protocol << '/' << m_version << '/' << m_transport << ' ';
    // An IPv6 address given without brackets is written as a reference.
    if (m_host.c_str()[0] != '[' && std::strchr(m_host.c_str(), ':'))
        out << '[' << m_host << ']';
    else
        out << m_host;
    if (m_hasPort) out << ':' << m_port;
    if (!m_parameters.isNil()) m_parameters->serializeWithLead(out, ';');
    if (!m_comment.empty()) out << " (" << m_comment << ')';
}
