// The CSeq header.
#ifndef KTSIP_KT_SIP_CSEQ_HEADER_H
#define KTSIP_KT_SIP_CSEQ_HEADER_H

#include "KtSipSequenceHeader.h"

/// CSeq: a sequence number and a method token. The message's validity check compares the
/// method with the request method ignoring case. A missing or non-numeric number, or an
/// empty method, throws KtSipParseError "Invalid CSeq header".
class KtSipCSeqHeader : public KtSipHeaderImpl<KtSipCSeqHeader, HeaderCSeq, KtSipSequenceHeader> {
    KT_SIP_SEQUENCE_HEADER_MEMBERS(KtSipCSeqHeader)

    /// A header holding `number` and `method` (null gives an empty method).
    KtSipCSeqHeader(unsigned number, const char* method) {
        setNumber(number);
        setMethod(method);
    }

    /// The sequence number.
    unsigned getNumber() const { return m_Numbers[0]; }
    /// Replaces the sequence number.
    void setNumber(unsigned number) { m_Numbers[0] = number; }
};

#endif
