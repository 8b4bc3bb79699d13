// The shape shared by WWW-Authenticate and Proxy-Authenticate.
#include "KtSipAuthenticateHeader.h"

#include "KtSipDigestPairReader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAuthenticateHeader")

KtSipAuthenticateHeader::KtSipAuthenticateHeader(const KtSipAuthenticateHeader& other)
    : KtSipHeader(other), m_Challenge(other.m_Challenge.isNil() ? nullptr : other.m_Challenge->clone()) {}

void KtSipAuthenticateHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthenticateHeader::doParse");
    // Split in the stream's window when the line's end is there; `line` holds it otherwise.
    KtString line;
    const KtSipDigestPairReader::SchemeSplit split = KtSipDigestPairReader::sReadSchemeLine(in, line);
    m_Challenge = KtSipChallengeInfo::constructFrom(split.scheme, split.schemeLength, split.list, split.listLength);
}

void KtSipAuthenticateHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthenticateHeader::doSerialize");
    if (m_Challenge.isNil()) return;
    out << m_Challenge->getType() << ' ';
    m_Challenge->serialize(out);
}

KtString KtSipAuthenticateHeader::getChallengeType() const {
    return m_Challenge.isNil() ? KtString("") : m_Challenge->getType();
}
