// SIP requests: method, request URI and the request line.
#include "KtSipRequest.h"

#include <cstring>

#include "KtByteArray.h"
#include "KtInetAddress.h"
#include "KtSipCSeq.h"
#include "KtSipCSeqHeader.h"
#include "KtSipCallIdHeader.h"
#include "KtSipCallid.h"
#include "KtSipContentLengthHeader.h"
#include "KtSipResponse.h"
#include "KtSipViaHeader.h"
#include "KtTelURL.h"
#include "TorvaneAssert.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRequest")

namespace {

// True when the three bytes at `text` spell `word` (three lowercase letters) in any case:
// a letter and only its capital differ from it in the 0x20 bit alone.
bool isWordNoCase(const char* text, const char (&word)[4]) {
    return (text[0] | 0x20) == word[0] && (text[1] | 0x20) == word[1] && (text[2] | 0x20) == word[2];
}

bool isSipOrTel(const char* scheme, std::size_t length) {
    return length == 3 && (isWordNoCase(scheme, "sip") || isWordNoCase(scheme, "tel"));
}

[[noreturn]] void throwInvalidStartLine() { KtSipParseError::sThrow("Invalid Start-Line for SIP request"); }

}  // namespace

KtSipRequest::KtSipRequest(const KtString& method) : m_Method(method), m_URI(new KtURI()) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRequest ctor");
    if (m_Method.empty()) KtException::sThrow("KtSipRequest constructor expects a Method Name");
}

KtSipRequest::KtSipRequest() : m_URI(new KtURI()) {}

KtSipRequest::KtSipRequest(const KtString& method, const char* from, const char* to, const char* contact,
                           const char* callId, unsigned int cseq, const char* contentType, const void* body,
                           unsigned int length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRequest ctor (2)");
    initMethod(method);
    KtHandle<KtSipHeader> fromHeader(new KtSipFromHeader(from));
    KtHandle<KtSipToHeader> toHeader(new KtSipToHeader(to));
    KtHandle<KtSipHeader> contactHeader;
    if (contact != nullptr && *contact != '\0') contactHeader = new KtSipContactHeader(contact);
    m_URI = new KtURI();
    setURI(toHeader->getNameAddress()->getURI());
    addDialogHeaders(fromHeader, toHeader, contactHeader, callId, cseq, contentType, body, length);
}

KtSipRequest::KtSipRequest(const KtString& method, KtHandle<KtSipFromHeader> from, KtHandle<KtSipToHeader> to,
                           KtHandle<KtSipContactHeader> contact, const char* callId, unsigned int cseq,
                           const char* contentType, const void* body, unsigned int length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRequest ctor (3)");
    initMethod(method);
    if (to.isNil()) KtException::sThrow("KtSipRequest constructor expects a To header");
    m_URI = new KtURI();
    setURI(to->getNameAddress()->getURI());
    addDialogHeaders(from, to, contact, callId, cseq, contentType, body, length);
}

KtSipRequest::KtSipRequest(const KtString& method, KtHandle<KtSipNameAddress> target,
                           KtHandle<KtSipFromHeader> from, KtHandle<KtSipToHeader> to,
                           KtHandle<KtSipContactHeader> contact, const char* callId, unsigned int cseq,
                           const char* contentType, const void* body, unsigned int length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRequest ctor (4)");
    initMethod(method);
    if (target.isNil()) KtException::sThrow("KtSipRequest constructor expects a request URI");
    m_URI = target->getURI();
    addDialogHeaders(from, to, contact, callId, cseq, contentType, body, length);
    liftTargetHeaders();
}

KtSipRequest::KtSipRequest(const KtString& method, KtHandle<KtURI> uri, KtHandle<KtSipFromHeader> from,
                           KtHandle<KtSipToHeader> to, KtHandle<KtSipContactHeader> contact, const char* callId,
                           unsigned int cseq, const char* contentType, const void* body, unsigned int length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRequest ctor (5)");
    initMethod(method);
    if (uri.isNil()) KtException::sThrow("KtSipRequest constructor expects a request URI");
    m_URI = uri;
    addDialogHeaders(from, to, contact, callId, cseq, contentType, body, length);
    liftTargetHeaders();
}

void KtSipRequest::initMethod(const KtString& method) {
    if (method.empty()) KtException::sThrow("The SIP Method cannot be NULL or EMPTY");
    m_Method = method;
}

void KtSipRequest::addDialogHeaders(const KtHandle<KtSipHeader>& from, const KtHandle<KtSipHeader>& to,
                                    const KtHandle<KtSipHeader>& contact, const char* callId, unsigned int cseq,
                                    const char* contentType, const void* body, unsigned int length) {
    addHeader(from, false);
    addHeader(to, false);
    addHeader(contact, false);
    if (callId == nullptr || *callId == '\0') {
        // The host is looked up here (KtSipCallid caches the same name for a null host).
        KtSipCallid generated;
        generated.reGenerate(KtSipCallid::sGetLocalHostName().c_str());
        addHeader(KtHandle<KtSipHeader>(new KtSipCallIdHeader(generated.c_str())), false);
    } else {
        addHeader(KtHandle<KtSipHeader>(new KtSipCallIdHeader(callId)), false);
    }
    addCSeq(cseq != 0 ? cseq : KtSipCSeq().getValue());
    addBody(body, contentType, length);
}

void KtSipRequest::liftTargetHeaders() {
    const KtSipURL* url = m_URI->isSipURL() ? ktCast<const KtSipURL>(m_URI.get()) : nullptr;
    if (url == nullptr || !url->hasHeaders()) return;
    // The body entry is read to its end only when no Content-Length bounds it: without
    // this the length set above would cut the entry short (or read none of it).
    const KtHandle<KtParameters> headers = url->getHeaders();
    for (unsigned i = 0, count = headers->size(); i < count; ++i)
        if (headers->getName(i).compareNoCase("body") == 0) {
            removeHeader(KtSipContentLengthHeader::sToken.c_str());
            break;
        }
    stripSipURLHeaders();
}

void KtSipRequest::addCopyOf(const KtSipMessage& source, HeaderID id) {
    addHeader(source.cloneFirstHeader(id), false);
}

void KtSipRequest::addCSeq(unsigned int number) {
    addHeader(KtHandle<KtSipHeader>(new KtSipCSeqHeader(number, m_Method.c_str())), false);
}

void KtSipRequest::addNextCSeq(const KtSipMessage& source, unsigned int increment) {
    const KtHandle<KtSipCSeqHeader> cseq = sCSeqOf(source);
    if (!cseq.isNil()) addCSeq(cseq->getNumber() + increment);
}

void KtSipRequest::addBody(const void* body, const char* contentType, unsigned int length) {
    if (length == 0)
        addHeader(KtHandle<KtSipHeader>(new KtSipContentLengthHeader(0u)), false);
    else
        setBody(body, contentType, length);
}

KtHandle<KtURI> KtSipRequest::sAddressURI(const KtSipMessage& source, HeaderID id) {
    const KtHandle<KtSipHeader> header = source.cloneFirstHeader(id);
    const KtSipContactHeader* contact = ktCast<const KtSipContactHeader>(header.get());
    if (contact != nullptr && contact->isWildcard()) return KtHandle<KtURI>();
    const KtSipNameAddrHeader* address = ktCast<const KtSipNameAddrHeader>(header.get());
    if (address == nullptr || address->getNameAddress().isNil()) return KtHandle<KtURI>();
    return address->getNameAddress()->getURI();
}

KtHandle<KtSipCSeqHeader> KtSipRequest::sCSeqOf(const KtSipMessage& message) {
    return message.cloneFirstHeader(HeaderCSeq).dynamicCast<KtSipCSeqHeader>();
}

void KtSipRequest::initAcknowledgement(const KtSipResponse& response, const char* refusal, unsigned int increment,
                                       const void* body, const char* contentType, unsigned int length) {
    const KtHandle<KtSipCSeqHeader> cseq = sCSeqOf(response);
    if (cseq.isNil() || cseq->getMethod().compare("INVITE") != 0) KtSipParseError::sThrow(refusal);
    addCopyOf(response, HeaderFrom);
    addCopyOf(response, HeaderTo);
    // A 2xx is acknowledged at the remote target (its Contact); everything else at the
    // To URI, the request URI of the INVITE.
    KtHandle<KtURI> target;
    if (response.getStatusCode() / 100 == 2) target = sAddressURI(response, HeaderContact);
    if (target.isNil()) target = sAddressURI(response, HeaderTo);
    if (!target.isNil()) setURI(target);
    addCopyOf(response, HeaderCallId);
    addCSeq(cseq->getNumber() + increment);
    addBody(body, contentType, length);
}

KtSipRequest::KtSipRequest(const KtSipRequest& other)
    : KtSipMessage(other), m_Method(other.m_Method), m_URI(other.m_URI.isNil() ? nullptr : other.m_URI->clone()) {}

KtSipRequest::~KtSipRequest() {}

KtSipRequest* KtSipRequest::clone() const { return new KtSipRequest(*this); }

bool KtSipRequest::isValid() const {
    if (m_Status != STATUS_VALID) return false;
    const KtSipCSeqHeader* cseq = ktCast<const KtSipCSeqHeader>(m_Headers[HeaderCSeq].get());
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
    // 1. The rest of the line, CR included, into a buffer (only the bytes stored are read
    //    below). A line that has filled the buffer when one more character is read is too
    //    long. A line whose end lies in the stream's window is copied at once.
    char line[START_LINE_BUFFER_SIZE];
    int stored = 0;
    int c = 0;
    const char* nl = in.available() > 0 ? static_cast<const char*>(std::memchr(
                                              in.current(), '\n', static_cast<std::size_t>(in.available())))
                                        : nullptr;
    if (nl != nullptr && nl - in.current() < static_cast<long>(START_LINE_BUFFER_SIZE)) {
        stored = static_cast<int>(nl - in.current());
        std::memcpy(line, in.current(), static_cast<std::size_t>(stored));
        in.setCurrent(nl + 1);
        c = '\n';
    }
    while (c != '\n') {
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
    // 416 even where the scanner of the URI class would refuse the text on its own. A scheme
    // that begins with "tel" is left to the URI: the tel reader takes every such text and
    // names its scheme "tel" (telnet://x becomes a tel URL), judged after the parse.
    const char* scheme = line;
    const char* const uriEnd = line + end;
    while (scheme < uriEnd && (*scheme == ' ' || *scheme == '\t' || *scheme == '<')) ++scheme;
    const char* colon = scheme;
    while (colon < uriEnd && *colon != ':' && *colon != ' ' && *colon != '>' && *colon != '\0') ++colon;
    const std::size_t schemeLength = static_cast<std::size_t>(colon - scheme);
    const bool telReader = schemeLength >= 3 && isWordNoCase(scheme, "tel");
    if (colon < uriEnd && *colon == ':' && !telReader && !isSipOrTel(scheme, schemeLength)) {
        m_Status = 416;
        KtSipParseError::sThrow("Upsupported Scheme");
    }
    KtByteArrayInputStream uriStream(line, static_cast<unsigned>(end + 2));
    m_URI = KtURI::sConstructFrom(uriStream, true);
    if (m_URI.isNil()) KtSipParseError::sThrow("Invalid SIP URI");
    const KtString& parsedScheme = m_URI->getScheme();
    const bool supported = parsedScheme.empty()
                               ? (m_URI->isSipURL() || ktCast<const KtTelURL>(m_URI.get()) != nullptr)
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
    out << m_Method << ' ';
    m_URI->serialize(out);
    out << " SIP/" << static_cast<unsigned>(m_MajorVersion) << '.'
        << static_cast<unsigned>(m_MinorVersion) << "\r\n";
}

void KtSipRequest::setURI(KtHandle<KtURI> uri) {
    KtMutexGuard guard(m_Mutex.get());
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
    KtSipURL* url = ktCast<KtSipURL>(m_URI.get());
    // The usual request URI has no headers (its list is not even made).
    if (url == nullptr || !url->hasHeaders()) return;
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
        // Only a name that is a token becomes a header: a name holding ":", white space, a
        // line end or another delimiter would be written out as a different header line.
        bool token = !name.empty();
        for (unsigned k = 0; token && k < name.length(); ++k) {
            const unsigned char c = static_cast<unsigned char>(name.c_str()[k]);
            token = c > 0x20 && c < 0x7f && !KtSipHeader::sDelimeterSet().contains(c);
        }
        if (!token) {
            TORVANE_DEBUG(fileLogger(), "KtSipRequest::stripSipURLHeaders : ignoring URI header name " << name.c_str());
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
