// SIP responses: status code, reason phrase and the status line.
#include "KtSipResponse.h"

#include "KtSipMsgConstructor.h"
#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipResponse")

const KtString KtSipResponse::sMethodName("SIP");

namespace {
const bool ktRegisteredKtSipResponse =
    (KtSipMessage::sAddConstructor(KtSipResponse::sMethodName.c_str(), &KtSipMsgConstructor<KtSipResponse>::Constructor),
     true);
}

KtSipResponse::KtSipResponse() : m_StatusCode(0) {}

KtSipResponse::KtSipResponse(const KtSipResponse& other)
    : KtSipMessage(other), m_StatusCode(other.m_StatusCode), m_ReasonPhrase(other.m_ReasonPhrase) {}

KtSipResponse::~KtSipResponse() {}

KtSipResponse* KtSipResponse::clone() const { return new KtSipResponse(*this); }

void KtSipResponse::parseStartLine(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponse::parseStartLine");
    in.read();  // the slash after "SIP" (not checked)
    const unsigned major = KtStreamTokenizer::sGetUnsigned(in);
    if (in.read() != '.') KtSipParseError::sThrow("'.' expected in response start line");
    const unsigned minor = KtStreamTokenizer::sGetUnsigned(in);
    m_MajorVersion = static_cast<unsigned char>(major);
    m_MinorVersion = static_cast<unsigned char>(minor);
    m_StatusCode = static_cast<int>(KtStreamTokenizer::sGetUnsigned(in));
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
