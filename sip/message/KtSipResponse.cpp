// SIP responses: status code, reason phrase and the status line.
#include "KtSipResponse.h"

#include <sstream>

#include "KtSipCSeqHeader.h"
#include "KtSipContentLengthHeader.h"
#include "KtSipMsgConstructor.h"
#include "KtSipResponseCode.h"
#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipResponse")

const KtString KtSipResponse::sMethodName(KtString::sStatic("SIP"));

namespace {
const bool ktRegisteredKtSipResponse =
    (KtSipMessage::sAddConstructor(KtSipResponse::sMethodName.c_str(), &KtSipMsgConstructor<KtSipResponse>::Constructor),
     true);
}

KtSipResponse::KtSipResponse() : m_StatusCode(0) {}

KtSipResponse::KtSipResponse(int code, KtHandle<KtSipRequest> request, const void* body, const char* contentType,
                             unsigned int length)
    : m_StatusCode(0) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponse ctor");
    if (code < 100 || code > 699) KtSipParseError::sThrow("Invalid Response code");
    if (request.isNil()) KtSipParseError::sThrow("Handle to request is NIL");
    m_StatusCode = code;
    m_ReasonPhrase = KtString(KtSipResponseCode::getReasonPhrase(code));
    addHeader(request->cloneHeaderChain(HeaderVia), false);
    addHeader(request->cloneFirstHeader(HeaderFrom), false);
    addHeader(request->cloneFirstHeader(HeaderTo), false);
    addHeader(request->cloneFirstHeader(HeaderCallId), false);
    const KtHandle<KtSipCSeqHeader> cseq = request->cloneFirstHeader(HeaderCSeq).dynamicCast<KtSipCSeqHeader>();
    if (!cseq.isNil()) {
        if (cseq->getMethod().empty()) cseq->setMethod(request->getMethod().c_str());
        addHeader(cseq, false);
    }
    // Responses to BYE and CANCEL carry no body.
    const KtString& method = request->getMethod();
    if (method.compareWith("BYE") == 0 || method.compareWith("CANCEL") == 0) {
        addHeader(KtHandle<KtSipHeader>(new KtSipContentLengthHeader(0u)), false);
    } else {
        if (length == 0)
            addHeader(KtHandle<KtSipHeader>(new KtSipContentLengthHeader(0u)), false);
        else
            setBody(body, contentType, length);
        if (code / 100 == 2) addHeader(request->cloneHeaderChain(HeaderRecordRoute), false);
    }
    // A response goes back over the stream connection the request came on.
    if (request->getConnectionTransport() == KtSocketImpl::TCP) {
        m_ConnectionAddress = request->getConnectionAddress();
        m_ConnectionPort = request->getConnectionPort();
        m_ConnectionTransport = KtSocketImpl::TCP;
    }
    try {
        checkValidity();
    } catch (const KtException& e) {
        TORVANE_WARN(fileLogger(), e.getMessage() << " in SIP response :\n" << *this);
    }
}

KtSipResponse::KtSipResponse(const KtSipResponse& other)
    : KtSipMessage(other), m_StatusCode(other.m_StatusCode), m_ReasonPhrase(other.m_ReasonPhrase) {}

KtSipResponse::~KtSipResponse() {}

KtSipResponse* KtSipResponse::clone() const { return new KtSipResponse(*this); }

void KtSipResponse::parseStartLine(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponse::parseStartLine");
    in.read();  // the slash after "SIP" (not checked)
    // Numbers that are missing or do not fit are malformed text like any other: they are
    // refused with a KtSipParseError. A status code must fit the signed field it is kept in,
    // so that it is written back as it was read.
    unsigned major = 0, minor = 0, code = 0;
    if (!KtStreamTokenizer::sGetUnsigned(in, major)) KtSipParseError::sThrow("Invalid SIP version in response start line");
    if (in.read() != '.') KtSipParseError::sThrow("'.' expected in response start line");
    if (!KtStreamTokenizer::sGetUnsigned(in, minor)) KtSipParseError::sThrow("Invalid SIP version in response start line");
    m_MajorVersion = static_cast<unsigned char>(major);
    m_MinorVersion = static_cast<unsigned char>(minor);
    if (!KtStreamTokenizer::sGetUnsigned(in, code) || code > 2147483647u)
        KtSipParseError::sThrow("Invalid status code in response start line");
    m_StatusCode = static_cast<int>(code);
    char phrase[REASON_BUFFER_SIZE];
    const int length = KtStreamTokenizer::sGetLine(in, phrase, sizeof phrase);
    if (length < 0) KtSipParseError::sThrow("unexpected end of response start line");
    m_ReasonPhrase = KtString(phrase, static_cast<unsigned>(length));
}

KtHandle<KtSipAuthenticateHeader> KtSipResponse::getAuthenticateHeader() const {
    KtHandle<KtSipAuthenticateHeader> header = mGetHeaderByID(HeaderWWWAuthenticate).dynamicCast<KtSipAuthenticateHeader>();
    if (header.isNil()) header = mGetHeaderByID(HeaderProxyAuthenticate).dynamicCast<KtSipAuthenticateHeader>();
    return header;
}

void KtSipResponse::serializeStartLine(KtOutputStream& out) const {
    out << "SIP/" << static_cast<unsigned>(m_MajorVersion) << '.' << static_cast<unsigned>(m_MinorVersion) << ' '
        << m_StatusCode << ' ' << m_ReasonPhrase << "\r\n";
}
