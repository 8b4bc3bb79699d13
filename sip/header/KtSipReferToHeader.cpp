// The Refer-To header.
#include "KtSipReferToHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipReferToHeader")

KT_SIP_HEADER_REGISTER(KtSipReferToHeader, "Refer-To")

KtSipReferToHeader::KtSipReferToHeader() {}

KtSipReferToHeader::KtSipReferToHeader(const char* text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReferToHeader ctor");
    parseText(text);
}

KtSipReferToHeader::KtSipReferToHeader(const KtHandle<KtURI>& uri) : m_uri(uri) {}

KtSipReferToHeader::KtSipReferToHeader(const KtSipReferToHeader& other)
    : KtSipHeaderImpl(other), m_uri(other.m_uri.isNil() ? nullptr : other.m_uri->clone()) {}


void KtSipReferToHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReferToHeader::doParse");
    // Not in brackets: a bare sip: URL ends before ";" and ",", which stay with the header.
    m_uri = KtURI::sConstructFrom(in, false);
    if (m_uri.isNil()) KtSipParseError::sThrow("Invalid URI in Refer-To header");
}

void KtSipReferToHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipReferToHeader::doSerialize");
    if (!m_uri.isNil()) m_uri->serialize(out);
}
