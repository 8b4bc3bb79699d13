// The Authorization header.
#include "KtSipAuthorizationHeader.h"

#include "KtSipDigestPairReader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAuthorizationHeader")

KT_SIP_HEADER_REGISTER(KtSipAuthorizationHeader, "Authorization")

KT_SIP_HEADER_VALUE_CONSTRUCTORS(KtSipAuthorizationHeader, KtSipCredentialsInfo, m_Credentials)

KtSipAuthorizationHeader::KtSipAuthorizationHeader(const KtSipAuthorizationHeader& other)
    : KtSipHeaderImpl(other), m_Credentials(other.m_Credentials.isNil() ? nullptr : other.m_Credentials->clone()) {}

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
