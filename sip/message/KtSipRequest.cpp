// SIP requests: method, request URI and the request line.
#include "KtSipRequest.h"

#include <strings.h>

#include <cstring>

#include "KtByteArray.h"
#include "KtSipCSeqHeader.h"
#include "KtSipViaHeader.h"
#include "KtTelURL.h"
#include "TorvaneAssert.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRequest")

namespace {

bool isSipOrTel(const char* scheme, std::size_t length) {
    return length == 3 && (strncasecmp(scheme, "sip", 3) == 0 || strncasecmp(scheme, "tel", 3) == 0);
}

[[noreturn]] void throwInvalidStartLine() { KtSipParseError::sThrow("Invalid Start-Line for SIP request"); }

}  // namespace

KtSipRequest::KtSipRequest(const KtString& method) : m_Method(method), m_URI(new KtURI()) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRequest ctor");
    if (m_Method.empty()) KtException::sThrow("KtSipRequest constructor expects a Method Name");
}

KtSipRequest::KtSipRequest() : m_URI(new KtURI()) {}

KtSipRequest::KtSipRequest(const KtSipRequest& other)
    : KtSipMessage(other), m_Method(other.m_Method), m_URI(other.m_URI.isNil() ? nullptr : other.m_URI->clone()) {}

KtSipRequest::~KtSipRequest() {}

KtSipRequest* KtSipRequest::clone() const { return new KtSipRequest(*this); }

bool KtSipRequest::isValid() const {
    if (m_Status != STATUS_VALID) return false;
    const KtSipCSeqHeader* cseq = dynamic_cast<const KtSipCSeqHeader*>(m_Headers[HeaderCSeq].get());
    return cseq != nullptr && m_Method.compareWith(cseq->getMethod().c_str()) == 0;
}

bool KtSipRequest::useLocalOutboundProxy() const { return false; }

void KtSipRequest::parse(const char* method, KtInputStream& in) {
    // A registered method arrives here already holding that very text: no copy then.
    if (m_Method.compareWith(method) != 0) m_Method.assign(method);
    KtSipMessage::parse(method, in);
}

void KtSipRequest::parseStartLine(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRequest::parseStartLine");
    // 1. The rest of the line, CR included, into a zero-filled buffer. A line that has
    //    filled the buffer when one more character is read is too long.
    char line[START_LINE_BUFFER_SIZE] = {0};
    int stored = 0;
    int c;
    for (;;) {
        c = in.read();
        if (stored == static_cast<int>(START_LINE_BUFFER_SIZE)) {
            m_Status = 414;
            KtSipParseError::sThrow("Invalid Start-Line for SIP request: too long");
        }
        if (c < 0 || c == '\n') break;
        line[stored++] = static_cast<char>(c);
    }
    if (c < 0) {
        m_Status = STATUS_PARSE_FAILED;
        KtSipParseError::sThrow("Invalid Start-Line for SIP request: reached end of message looking for end-of-line");
    }
    // 2. From the end: skip a CR and trailing spaces to the version, then find the space
    //    in front of it.
    int end = stored - 1;
    if (end >= 0 && line[end] == '\r') --end;
    while (end > 0 && line[end] == ' ') --end;
    if (end <= 0) throwInvalidStartLine();
    const int versionEnd = end;
    while (end > 0 && line[end] != ' ') --end;
    if (end <= 0) throwInvalidStartLine();
    // 3. The version: exactly "SIP/2.0".
    const char* version = line + end + 1;
    if (versionEnd - end != 7 || std::strncmp(version, "SIP/", 4) != 0)
        KtSipParseError::sThrow("Invalid SIP Version");
    if (version[4] != '2' || version[5] != '.' || version[6] != '0') {
        m_Status = 505;
        KtSipParseError::sThrow("Invalid SIP Version");
    }
    m_MajorVersion = 2;
    m_MinorVersion = 0;
    // 4. The URI text (everything before that space) followed by CR LF.
    line[end] = '\r';
    line[end + 1] = '\n';
    line[end + 2] = '\0';
    // The scheme is judged on the text first: "sips" or any other scheme is answered with
    // 416 even where the scanner of the URI class would refuse the text on its own.
    const char* scheme = line;
    const char* const uriEnd = line + end;
    while (scheme < uriEnd && (*scheme == ' ' || *scheme == '\t' || *scheme == '<')) ++scheme;
    const char* colon = scheme;
    while (colon < uriEnd && *colon != ':' && *colon != ' ' && *colon != '>' && *colon != '\0') ++colon;
    if (colon < uriEnd && *colon == ':' && !isSipOrTel(scheme, static_cast<std::size_t>(colon - scheme))) {
        m_Status = 416;
        KtSipParseError::sThrow("Upsupported Scheme");
    }
    KtByteArrayInputStream uriStream(line, static_cast<unsigned>(end + 2));
    m_URI = KtURI::sConstructFrom(uriStream, true);
    if (m_URI.isNil()) KtSipParseError::sThrow("Invalid SIP URI");
    const KtString& parsedScheme = m_URI->getScheme();
    const bool supported = parsedScheme.empty()
                               ? (m_URI->isSipURL() || dynamic_cast<const KtTelURL*>(m_URI.get()) != nullptr)
                               : isSipOrTel(parsedScheme.c_str(), parsedScheme.length());
    if (!supported) {
        m_Status = 416;
        KtSipParseError::sThrow("Upsupported Scheme");
    }
    stripSipURLHeaders();
    stripBrackets();
}

void KtSipRequest::serializeStartLine(KtOutputStream& out) const {
    if (m_Method.empty() || m_URI.isNil()) {
        TORVANE_ASSERT(!m_Method.empty());
        TORVANE_ASSERT(!m_URI.isNil());
        return;
    }
    out << m_Method << ' ' << m_URI->getString() << " SIP/" << static_cast<unsigned>(m_MajorVersion) << '.'
        << static_cast<unsigned>(m_MinorVersion) << "\r\n";
}

void KtSipRequest::setURI(KtHandle<KtURI> uri) {
    KtMutexGuard guard(*m_pMutex);
    m_URI = uri.isNil() ? nullptr : uri->clone();
    stripBrackets();
}

KtHandle<KtSipURL> KtSipRequest::getURL() const {
    KtURI* pObject = m_URI.get();
    return KtHandle<KtSipURL>(TORVANE_DYNCAST_ASSERT(KtSipURL, pObject));
}

KtHandle<KtSipAuthorizationHeader> KtSipRequest::getAuthorizationHeader() const {
    KtHandle<KtSipAuthorizationHeader> header = mGetHeaderByID(HeaderAuthorization).dynamicCast<KtSipAuthorizationHeader>();
    if (header.isNil()) header = mGetHeaderByID(HeaderProxyAuthorization).dynamicCast<KtSipAuthorizationHeader>();
    return header;
}

void KtSipRequest::insertViaHeader(const char* host, unsigned int port, const char* transport) {
    addHeader(KtHandle<KtSipHeader>(new KtSipViaHeader(host, port, transport)), true);
}

void KtSipRequest::stripSipURLHeaders() {
    if (m_URI.isNil() || !m_URI->isSipURL()) return;
    KtSipURL* url = dynamic_cast<KtSipURL*>(m_URI.get());
    if (url == nullptr || url->getHeaders().isNil()) return;
    const KtHandle<KtParameters> headers = url->getHeaders();
    const unsigned count = headers->size();
    for (unsigned i = 0; i < count; ++i) {
        const KtString name = headers->getName(i);
        const KtString value = headers->getValueAt(i);
        KtByteArrayInputStream valueStream(value.c_str(), value.length());
        if (name.compareNoCase("body") == 0) {
            parseBody(valueStream);
            continue;
        }
        KtHandle<KtSipHeader> header(KtSipHeader::sConstruct(name.c_str()));
        header->doParse(valueStream);
        // Every header of that name goes. removeHeader reports an unknown header it leaves
        // in place as removed, so stop as soon as a call changes nothing.
        for (;;) {
            const HeaderID id = mTokenToID(name.c_str());
            const KtHandle<KtSipHeader> before = mGetHeaderByID(id);
            if (!removeHeader(name.c_str()) || mGetHeaderByID(id) == before) break;
        }
        addHeader(header, false);
    }
    headers->clear();
}

void KtSipRequest::stripBrackets() {
    if (m_URI.isNil()) return;
    // Rewritten only when a bracket is present: the common case copies nothing.
    const KtString& scheme = m_URI->getScheme();
    if (std::strpbrk(scheme.c_str(), "<>") != nullptr) {
        char* cleared = clearBrackets(scheme.c_str());
        m_URI->setScheme(cleared);
        delete[] cleared;
    }
    const KtString& data = m_URI->getSchemeData();
    if (std::strpbrk(data.c_str(), "<>") != nullptr) {
        char* cleared = clearBrackets(data.c_str());
        m_URI->setSchemeData(cleared);
        delete[] cleared;
    }
}

char* KtSipRequest::clearBrackets(const char* text) {
    if (text == nullptr) return nullptr;
    char* cleared = new char[std::strlen(text) + 1];
    char* out = cleared;
    for (; *text != '\0'; ++text)
        if (*text != '<' && *text != '>') *out++ = *text;
    *out = '\0';
    return cleared;
}
