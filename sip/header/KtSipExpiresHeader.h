// The Expires header.
#ifndef KTSIP_KT_SIP_EXPIRES_HEADER_H
#define KTSIP_KT_SIP_EXPIRES_HEADER_H

#include "KtDate.h"
#include "KtSipHeader.h"

/// Expires: delta seconds, or (the older form) an RFC 1123 date. A delta above 2147483647
/// is held as 2147483647 (RFC 3261 asks receivers to cap over-large values). A date that
/// cannot be read throws KtSipParseError "Invalid Expires header"; a delta of 64 characters
/// or more, or one the line ends in, "un-expecting end of file when parsing KtSipExpiresHeader".
class KtSipExpiresHeader : public KtSipHeaderImpl<KtSipExpiresHeader, HeaderExpires> {
public:
    static const KtString sToken;
    /// Length of the work buffer the delta is read into.
    static const unsigned DELTA_BUFFER_SIZE = 64;

    /// Delta 0.
    KtSipExpiresHeader() = default;
    /// Delta `seconds`.
    explicit KtSipExpiresHeader(int seconds) : m_Delta(seconds) {}
    /// The date `date`.
    explicit KtSipExpiresHeader(const KtDate& date) : m_IsDate(true), m_Date(date) {}
    KtSipExpiresHeader(const KtSipExpiresHeader& other) = default;

    /// True when the value is a date, false when it is delta seconds.
    bool isDate() const { return m_IsDate; }
    /// The delta seconds (0 when the value is a date).
    int getDelta() const { return m_Delta; }
    /// The date (the epoch when the value is delta seconds).
    const KtDate& getDate() const { return m_Date; }
    /// Makes the value delta `seconds`.
    void setDelta(int seconds);
    /// Makes the value the date `date`.
    void setDate(const KtDate& date);

    /// Reads a delta or a date.
    void doParse(KtInputStream& in) override;
    /// Writes the delta in decimal or the date text.
    void doSerialize(KtOutputStream& out) const override;

private:
    void parseDate(KtInputStream& in);

    bool m_IsDate = false;
    int m_Delta = 0;
    KtDate m_Date;
};

#endif
