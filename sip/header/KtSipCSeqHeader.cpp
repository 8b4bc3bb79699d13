// The CSeq header.
#include "KtSipCSeqHeader.h"

#include "KtSipTokenHeader.h"
#include "KtStreamTokenizer.h"
#include "KtStringTable.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCSeqHeader")

KT_SIP_HEADER_REGISTER(KtSipCSeqHeader, "CSeq")

void KtSipCSeqHeader::doParse(KtInputStream& in) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCSeqHeader::doParse");
    unsigned number = 0;
    if (!KtStreamTokenizer::sGetUnsigned(in, number)) KtSipParseError::sThrow("Invalid CSeq header");
    const KtString method = KtSipTokenHeader::sCommonWords().parse(in, KtSipTokenHeader::sMethodSeparators(), false);
    if (method.empty()) KtSipParseError::sThrow("Invalid CSeq header");
    m_Number = number;
    m_Method = KtConstString(method);
}

void KtSipCSeqHeader::doSerialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipCSeqHeader::doSerialize");
    out << m_Number << ' ' << m_Method;
}
