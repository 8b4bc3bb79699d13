// The CSeq header.
#ifndef KTSIP_KT_SIP_CSEQ_HEADER_H
#define KTSIP_KT_SIP_CSEQ_HEADER_H

#include "KtSipHeader.h"

/// CSeq: a sequence number and a method token. The method is kept as written (case
/// included); the message's validity check compares it with the request method ignoring
/// case. A missing or non-numeric number, or an empty method, throws KtSipParseError
/// "Invalid CSeq header".
class KtSipCSeqHeader : public KtSipHeaderImpl<KtSipCSeqHeader, HeaderCSeq> {
public:
    static const KtString sToken;

    /// Number 0, empty method.
    KtSipCSeqHeader() = default;
    /// A header holding `number` and `method` (null gives an empty method).
    KtSipCSeqHeader(unsigned number, const char* method) : m_Number(number) { m_Method.assign(method); }
    KtSipCSeqHeader(const KtSipCSeqHeader& other) = default;

    /// The sequence number.
    unsigned getNumber() const { return m_Number; }
    /// Replaces the sequence number.
    void setNumber(unsigned number) { m_Number = number; }
    /// The method as written.
    const KtConstString& getMethod() const { return m_Method; }
    /// Replaces the method (null gives an empty method).
    void setMethod(const char* method) { m_Method.assign(method); }

    /// Reads the number and the method.
    void doParse(KtInputStream& in) override;
    /// Writes the number, one space and the method.
    void doSerialize(KtOutputStream& out) const override;

private:
    unsigned m_Number = 0;
    KtConstString m_Method;
};

#endif
