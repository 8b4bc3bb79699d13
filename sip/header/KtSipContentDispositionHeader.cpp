// The Content-Disposition header.
#include "KtSipContentDispositionHeader.h"

#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipContentDispositionHeader")

KT_SIP_HEADER_REGISTER(KtSipContentDispositionHeader, "Content-Disposition")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipContentDispositionHeader)

void KtSipContentDispositionHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContentDispositionHeader::doParse");
    KtString type;
    type.mutableBuffer()->parse(in, KtSipHeader::sDelimeterSet());
    if (type.empty()) KtSipParseError::sThrow("Invalid Content-Disposition header");
    m_word = type;
    KtStreamTokenizer::sDiscardWhite(in);
    if (in.peek() == ';') {
        in.read();
        m_parameters->parse(in, KtParameters::sOwner);
    }
}

void KtSipContentDispositionHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipContentDispositionHeader::doSerialize");
    out << m_word;
    m_parameters->serializeWithLead(out, ';');
}
