// The Authorization header.
#include "KtSipAuthorizationHeader.h"

#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAuthorizationHeader")

KT_SIP_HEADER_REGISTER(KtSipAuthorizationHeader, "Authorization")

KtSipAuthorizationHeader::KtSipAuthorizationHeader() : KtSipHeader(sToken, HeaderAuthorization) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthorizationHeader ctor");
}

KtSipAuthorizationHeader::KtSipAuthorizationHeader(const KtHandle<KtSipCredentialsInfo>& credentials)
    : KtSipHeader(sToken, HeaderAuthorization), m_Credentials(credentials) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthorizationHeader ctor");
}

KtSipAuthorizationHeader::KtSipAuthorizationHeader(const KtSipAuthorizationHeader& other)
    : KtSipHeader(other), m_Credentials(other.m_Credentials.isNil() ? nullptr : other.m_Credentials->clone()) {}

KtSipAuthorizationHeader::~KtSipAuthorizationHeader() = default;

KtSipHeader* KtSipAuthorizationHeader::clone() const {
    return new KtSipAuthorizationHeader(*this);
}

void KtSipAuthorizationHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthorizationHeader::doParse");
    // Split in the stream's window when the line's end is there; `line` holds it otherwise.
    KtString line;
    const KtSipDigestPairReader::SchemeSplit split = KtSipDigestPairReader::sReadSchemeLine(in, line);
    m_Credentials = KtSipCredentialsInfo::constructFrom(split.scheme, split.schemeLength, split.list, split.listLength);
}

void KtSipAuthorizationHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthorizationHeader::doSerialize");
    if (m_Credentials.isNil()) return;
    out << m_Credentials->getType() << ' ';
    m_Credentials->serialize(out);
}

KtString KtSipAuthorizationHeader::getAuthenticationType() const {
    return m_Credentials.isNil() ? KtString("") : m_Credentials->getType();
}
