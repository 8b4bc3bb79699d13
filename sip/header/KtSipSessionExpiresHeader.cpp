// The Session-Expires header.
#include "KtSipSessionExpiresHeader.h"

#include "KtSipLexer.h"
#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSessionExpiresHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipSessionExpiresHeader, "Session-Expires", "x")

const char KtSipSessionExpiresHeader::sRefresher[] = "refresher";
const char KtSipSessionExpiresHeader::sUAC[] = "uac";
const char KtSipSessionExpiresHeader::sUAS[] = "uas";

KT_SIP_UNSIGNED_HEADER_SYNTAX(KtSipSessionExpiresHeader, "Invalid Session-Expires header")

KtSipSessionExpiresHeader::KtSipSessionExpiresHeader(unsigned seconds, const char* refresher) {
    setValue(seconds);
    setRefresher(refresher);
    checkValidity();
}

KtSipSessionExpiresHeader::KtSipSessionExpiresHeader(const KtSipSessionExpiresHeader& other)
    : KtSipCompactHeaderImpl<KtSipSessionExpiresHeader, HeaderSessionExpires, KtSipUnsignedHeader>(other),
      m_Parameters(other.m_Parameters.isNil() ? nullptr : other.m_Parameters->clone()) {}

KtString KtSipSessionExpiresHeader::getRefresher() const {
    return m_Parameters.isNil() ? KtString() : m_Parameters->getValue(sRefresher);
}

void KtSipSessionExpiresHeader::setRefresher(const char* refresher) {
    if (!refresher) {
        if (!m_Parameters.isNil()) m_Parameters->removeValue(sRefresher);
        return;
    }
    if (m_Parameters.isNil()) m_Parameters = new KtParameters(';');
    m_Parameters->setValue(sRefresher, refresher);
}

void KtSipSessionExpiresHeader::checkValidity() const { checkRefresher(false); }

void KtSipSessionExpiresHeader::checkRefresher(bool fresh) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipSessionExpiresHeader::checkValidity");
    // Without a refresher parameter the header is valid (RFC 4028 makes it optional).
    if (m_Parameters.isNil()) return;
    const KtParameters& parameters = *m_Parameters;
    if (!(fresh ? parameters.hasName(sRefresher, KtParameters::sOwner) : parameters.hasName(sRefresher))) return;
    KtString refresher = fresh ? parameters.getValue(sRefresher, KtParameters::sOwner) : parameters.getValue(sRefresher);
    if (refresher.compareNoCase(sUAC) != 0 && refresher.compareNoCase(sUAS) != 0)
        KtSipParseError::sThrow("Invalid Refresher in Session-Expires Header");
}

void KtSipSessionExpiresHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipSessionExpiresHeader::doParse");
    parseNumber(in);
    if (!m_Parameters.isNil()) m_Parameters->clear();
    KtSipLexer::sSkipBlanks(in);
    if (in.peek() == ';') {
        in.read();
        if (m_Parameters.isNil()) m_Parameters = new KtParameters(';');
        m_Parameters->parse(in, KtParameters::sOwner);
    }
    // A received header with a refresher other than uac or uas is malformed.
    checkRefresher(true);
}

void KtSipSessionExpiresHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipSessionExpiresHeader::doSerialize");
    out << m_Value;
    if (!m_Parameters.isNil()) m_Parameters->serializeWithLead(out, ';');
}
