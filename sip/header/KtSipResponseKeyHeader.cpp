// The Response-Key header.
#include "KtSipResponseKeyHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipResponseKeyHeader")

KT_SIP_HEADER_REGISTER(KtSipResponseKeyHeader, "Response-Key")

KtSipResponseKeyHeader::KtSipResponseKeyHeader() : m_parameters(new KtParameters(';')) {}

KtSipResponseKeyHeader::KtSipResponseKeyHeader(const char* text) : m_parameters(new KtParameters(';')) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponseKeyHeader ctor");
    parseText(text);
}

KtSipResponseKeyHeader::KtSipResponseKeyHeader(const KtSipResponseKeyHeader& other)
    : KtSipHeaderImpl(other),
      m_scheme(other.m_scheme),
      m_parameters(other.m_parameters.isNil() ? new KtParameters(';') : other.m_parameters->clone()) {}


void KtSipResponseKeyHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponseKeyHeader::doParse");
    // An empty scheme is accepted (the header then writes an empty value): the key scheme
    // is opaque to this library.
    KtString scheme;
    scheme.mutableBuffer()->parse(in, " \r\n");
    m_scheme = scheme;
    // Everything left on the line is the parameter list, commas included.
    KtString rest;
    rest.mutableBuffer()->read(in, static_cast<unsigned>(in.available()));
    rest.trim();
    m_parameters->setSeparator(',');
    m_parameters->parse(rest.c_str());
}

void KtSipResponseKeyHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponseKeyHeader::doSerialize");
    out << m_scheme;
    m_parameters->serializeWithLead(out, ' ');
}
