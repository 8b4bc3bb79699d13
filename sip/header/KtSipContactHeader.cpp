// The Contact header.
#include "KtSipContactHeader.h"

#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipContactHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipContactHeader, "Contact", "m")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipContactHeader)

void KtSipContactHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContactHeader::doParse");
    KtStreamTokenizer::sDiscardWhite(in);
    if (in.peek() == '*') {
        // The wildcard stands alone: whatever follows the star is left to the framework,
        // which skips it up to the next comma.
        in.read();
        m_wildcard = true;
        return;
    }
    KtSipNameAddrParamsHeader::doParse(in);
}

void KtSipContactHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContactHeader::doSerialize");
    if (m_wildcard)
        out << '*';
    else
        out << m_nameAddress;
    serializeParameters(out);
    if (!m_comment.empty()) out << " (" << m_comment << ")";
}
