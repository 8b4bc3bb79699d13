// The shape shared by the headers whose value is a number of seconds or a date (Expires,
// Retry-After).
#ifndef KTSIP_KT_SIP_DELTA_SECONDS_HEADER_H
#define KTSIP_KT_SIP_DELTA_SECONDS_HEADER_H

#include "KtDate.h"
#include "KtSipHeader.h"

/// A header whose value is either a number of seconds or (the older form) an RFC 1123 date.
/// Each class reads its own form of the value and writes what follows it; the value itself is
/// held and written here.
class KtSipDeltaSecondsHeader : public KtSipHeader {
public:
    ~KtSipDeltaSecondsHeader() override {}

    /// True when the value is a date, false when it is a number of seconds.
    bool isDate() const { return m_IsDate; }
    /// The date (the epoch when the value is a number).
    const KtDate& getDate() const { return m_Date; }
    /// Makes the value the date `date` (the number becomes 0).
    void setDate(const KtDate& date);

protected:
    KtSipDeltaSecondsHeader(const KtString& token, HeaderID id) : KtSipHeader(token, id) {}
    KtSipDeltaSecondsHeader(const KtSipDeltaSecondsHeader& other) = default;

    /// Makes the value `seconds` (the date becomes the epoch).
    void setSecondsValue(long long seconds);
    /// Makes the value the date `text` (NUL-terminated RFC 1123 text); throws KtSipParseError
    /// `error` when it is no date, leaving the header unchanged.
    void setDateText(const char* text, const char* error);
    /// Writes the date text or the number in decimal.
    void writeValue(KtOutputStream& out) const;

    bool m_IsDate = false;
    /// The number of seconds: a signed 32-bit value for Expires, an unsigned one for Retry-After.
    long long m_Seconds = 0;
    KtDate m_Date;
};

#endif
