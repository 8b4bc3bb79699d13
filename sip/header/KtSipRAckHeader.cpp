// The RAck header.
#include "KtSipRAckHeader.h"

#include "KtSipTokenHeader.h"
#include "KtStreamTokenizer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRAckHeader")

KT_SIP_HEADER_REGISTER(KtSipRAckHeader, "RAck")

void KtSipRAckHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRAckHeader::doParse");
    unsigned responseNumber = 0;
    unsigned cseqNumber = 0;
    if (!KtStreamTokenizer::sGetUnsigned(in, responseNumber) || !KtStreamTokenizer::sGetUnsigned(in, cseqNumber))
        KtSipParseError::sThrow("Invalid RAck header");
    KtString method;
    method.mutableBuffer()->parse(in, KtSipTokenHeader::sMethodSeparators());
    if (method.empty()) KtSipParseError::sThrow("Invalid RAck header");
    m_ResponseNumber = responseNumber;
    m_CSeqNumber = cseqNumber;
    m_Method = KtConstString(method);
}

void KtSipRAckHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipRAckHeader::doSerialize");
    out << m_ResponseNumber << ' ' << m_CSeqNumber << ' ' << m_Method;
}
