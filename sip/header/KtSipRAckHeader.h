// The RAck header (reliable provisional responses).
#ifndef KTSIP_KT_SIP_RACK_HEADER_H
#define KTSIP_KT_SIP_RACK_HEADER_H

#include "KtSipSequenceHeader.h"

/// RAck: the response number (RSeq) and the CSeq number and method of the response being
/// acknowledged. A missing or non-numeric number, or an empty method, throws
/// KtSipParseError "Invalid RAck header".
class KtSipRAckHeader : public KtSipHeaderImpl<KtSipRAckHeader, HeaderRAck, KtSipSequenceHeader> {
    KT_SIP_SEQUENCE_HEADER_MEMBERS(KtSipRAckHeader)

    /// A header acknowledging response `responseNumber` of the transaction `cseqNumber` `method`.
    KtSipRAckHeader(unsigned responseNumber, unsigned cseqNumber, const char* method) {
        setResponseNumber(responseNumber);
        setCSeqNumber(cseqNumber);
        setMethod(method);
    }

    /// The response number (the RSeq being acknowledged).
    unsigned getResponseNumber() const { return m_Numbers[0]; }
    /// Replaces the response number.
    void setResponseNumber(unsigned number) { m_Numbers[0] = number; }
    /// The CSeq number.
    unsigned getCSeqNumber() const { return m_Numbers[1]; }
    /// Replaces the CSeq number.
    void setCSeqNumber(unsigned number) { m_Numbers[1] = number; }
};

#endif
