// The Expires header.
#ifndef KTSIP_KT_SIP_EXPIRES_HEADER_H
#define KTSIP_KT_SIP_EXPIRES_HEADER_H

#include "KtSipDeltaSecondsHeader.h"

/// Expires: delta seconds, or (the older form) an RFC 1123 date. A delta above 2147483647
/// is held as 2147483647 (RFC 3261 asks receivers to cap over-large values). A date that
/// cannot be read throws KtSipParseError "Invalid Expires header"; a delta of 64 characters
/// or more, or one the line ends in, "un-expecting end of file when parsing KtSipExpiresHeader".
class KtSipExpiresHeader
    : public KtSipHeaderImpl<KtSipExpiresHeader, HeaderExpires, KtSipDeltaSecondsHeader> {
public:
    static const KtString sToken;
    /// Length of the work buffer the delta is read into.
    static const unsigned DELTA_BUFFER_SIZE = 64;

    /// Delta 0.
    KtSipExpiresHeader() = default;
    /// Delta `seconds`.
    explicit KtSipExpiresHeader(int seconds) { m_Seconds = seconds; }
    /// The date `date`.
    explicit KtSipExpiresHeader(const KtDate& date) { setDate(date); }
    KtSipExpiresHeader(const KtSipExpiresHeader& other) = default;

    /// The delta seconds (0 when the value is a date).
    int getDelta() const { return static_cast<int>(m_Seconds); }
    /// Makes the value delta `seconds`.
    void setDelta(int seconds) { setSecondsValue(seconds); }

    /// Reads a delta or a date.
    void doParse(KtInputStream& in) override;
    /// Writes the delta in decimal or the date text.
    void doSerialize(KtOutputStream& out) const override;

private:
    void parseDate(KtInputStream& in);
};

#endif
