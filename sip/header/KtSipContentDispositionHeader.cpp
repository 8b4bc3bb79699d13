// The Content-Disposition header.
#include "KtSipContentDispositionHeader.h"

#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipContentDispositionHeader")

KT_SIP_HEADER_REGISTER(KtSipContentDispositionHeader, "Content-Disposition")

KtSipContentDispositionHeader::KtSipContentDispositionHeader() : m_parameters(new KtParameters(';')) {}

KtSipContentDispositionHeader::KtSipContentDispositionHeader(const char* text) : m_parameters(new KtParameters(';')) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContentDispositionHeader ctor");
    parseText(text);
}

KtSipContentDispositionHeader::KtSipContentDispositionHeader(const KtSipContentDispositionHeader& other)
    : KtSipHeaderImpl(other),
      m_type(other.m_type),
      m_parameters(other.m_parameters.isNil() ? new KtParameters(';') : other.m_parameters->clone()) {}


void KtSipContentDispositionHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContentDispositionHeader::doParse");
    KtString type;
    type.mutableBuffer()->parse(in, KtSipHeader::sDelimeterSet());
    if (type.empty()) KtSipParseError::sThrow("Invalid Content-Disposition header");
    m_type = type;
    KtStreamTokenizer::sDiscardWhite(in);
    if (in.peek() == ';') {
        in.read();
        m_parameters->parse(in, KtParameters::sOwner);
    }
}

void KtSipContentDispositionHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContentDispositionHeader::doSerialize");
    out << m_type;
    m_parameters->serializeWithLead(out, ';');
}
