// The RAck header (reliable provisional responses).
#ifndef KTSIP_KT_SIP_RACK_HEADER_H
#define KTSIP_KT_SIP_RACK_HEADER_H

#include "KtSipHeader.h"

/// RAck: the response number (RSeq) and the CSeq number and method of the response being
/// acknowledged. A missing or non-numeric number, or an empty method, throws
/// KtSipParseError "Invalid RAck header".
class KtSipRAckHeader : public KtSipHeaderImpl<KtSipRAckHeader, HeaderRAck> {
public:
    static const KtString sToken;

    /// Numbers 0, empty method.
    KtSipRAckHeader() = default;
    /// A header acknowledging response `responseNumber` of the transaction `cseqNumber` `method`.
    KtSipRAckHeader(unsigned responseNumber, unsigned cseqNumber, const char* method)
        : m_ResponseNumber(responseNumber), m_CSeqNumber(cseqNumber) {
        m_Method.assign(method);
    }
    KtSipRAckHeader(const KtSipRAckHeader& other) = default;

    /// The response number (the RSeq being acknowledged).
    unsigned getResponseNumber() const { return m_ResponseNumber; }
    /// Replaces the response number.
    void setResponseNumber(unsigned number) { m_ResponseNumber = number; }
    /// The CSeq number.
    unsigned getCSeqNumber() const { return m_CSeqNumber; }
    /// Replaces the CSeq number.
    void setCSeqNumber(unsigned number) { m_CSeqNumber = number; }
    /// The method as written.
    const KtConstString& getMethod() const { return m_Method; }
    /// Replaces the method (null gives an empty method).
    void setMethod(const char* method) { m_Method.assign(method); }

    /// Reads the two numbers and the method.
    void doParse(KtInputStream& in) override;
    /// Writes the two numbers and the method separated by single spaces.
    void doSerialize(KtOutputStream& out) const override;

private:
    unsigned m_ResponseNumber = 0;
    unsigned m_CSeqNumber = 0;
    KtConstString m_Method;
};

#endif
