// The Response-Key header.
#include "KtSipResponseKeyHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipResponseKeyHeader")

KT_SIP_HEADER_REGISTER(KtSipResponseKeyHeader, "Response-Key")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipResponseKeyHeader)

void KtSipResponseKeyHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponseKeyHeader::doParse");
    // An empty scheme is accepted (the header then writes an empty value): the key scheme
    // is opaque to this library.
    KtString scheme;
    scheme.mutableBuffer()->parse(in, " \r\n");
    m_word = scheme;
    // Everything left on the line is the parameter list, commas included.
    KtString rest;
    rest.mutableBuffer()->read(in, static_cast<unsigned>(in.available()));
    rest.trim();
    m_parameters->setSeparator(',');
    m_parameters->parse(rest.c_str());
}

void KtSipResponseKeyHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipResponseKeyHeader::doSerialize");
    out << m_word;
    m_parameters->serializeWithLead(out, ' ');
}
