// The Date header.
#ifndef KTSIP_KT_SIP_DATE_HEADER_H
#define KTSIP_KT_SIP_DATE_HEADER_H

#include "KtDate.h"
#include "KtSipHeader.h"

/// Date: an RFC 1123 date ("Sat, 13 Nov 2010 23:29:00 GMT"). An empty value throws
/// KtSipParseError "Invalid Date header"; text that is not a date throws a plain
/// KtException "Invalid Date in KtSipDateHeader".
class KtSipDateHeader : public KtSipHeaderImpl<KtSipDateHeader, HeaderDate> {
public:
    static const KtString sToken;
    /// Longest date text read, in bytes.
    static const unsigned MAX_TEXT = 256;

    /// The epoch.
    KtSipDateHeader() = default;
    /// The date `date`.
    explicit KtSipDateHeader(const KtDate& date) : m_Date(date) {}
    KtSipDateHeader(const KtSipDateHeader& other) = default;

    /// The date.
    const KtDate& getDate() const { return m_Date; }
    /// Replaces the date.
    void setDate(const KtDate& date) { m_Date = date; }

    /// Reads the date, the comma after the weekday included.
    void doParse(KtInputStream& in) override;
    /// Writes the date text.
    void doSerialize(KtOutputStream& out) const override;

private:
    KtDate m_Date;
};

#endif
