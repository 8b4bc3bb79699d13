// The Authentication-Info header.
#include "KtSipAuthenticationInfoHeader.h"

#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAuthenticationInfoHeader")

KT_SIP_HEADER_REGISTER(KtSipAuthenticationInfoHeader, "Authentication-Info")

KtSipAuthenticationInfoHeader::KtSipAuthenticationInfoHeader() : m_Params(new KtParameters(',')) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthenticationInfoHeader ctor");
}

KtSipAuthenticationInfoHeader::KtSipAuthenticationInfoHeader(const KtSipAuthenticationInfoHeader& other)
    : KtSipHeaderImpl(other), m_Params(other.m_Params->clone()) {}

KtSipAuthenticationInfoHeader::~KtSipAuthenticationInfoHeader() = default;

void KtSipAuthenticationInfoHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthenticationInfoHeader::doParse");
    // The reader stops at the line end, so the framework finds no comma to split at.
    KtSipDigestPairReader::sRead(in, *m_Params, KtSipDigestPairReader::KeepNameCase);
}

void KtSipAuthenticationInfoHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipAuthenticationInfoHeader::doSerialize");
    const KtParameters& p = *m_Params;
    out << "nextnonce=\"" << p.getValue("nextnonce") << '"';
    if (p.hasName("rspauth")) out << ",rspauth=\"" << p.getValue("rspauth") << '"';
    if (p.hasName("qop")) {
        out << ",qop=" << p.getValue("qop") << ",nc=" << p.getValue("nc") << ",cnonce=\"" << p.getValue("cnonce")
            << '"';
    }
}
