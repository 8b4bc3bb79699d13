// The Timestamp header.
#ifndef KTSIP_KT_SIP_TIMESTAMP_HEADER_H
#define KTSIP_KT_SIP_TIMESTAMP_HEADER_H

#include "KtSipHeader.h"

/// Timestamp: the timestamp and an optional delay, both kept as text ("54.21 0.3").
/// An empty timestamp throws KtSipParseError "Invalid Timestamp header, blank timestamp";
/// writing a header whose timestamp is empty throws KtException "Can't serialize Timestamp
/// header, empty timestamp".
class KtSipTimestampHeader : public KtSipHeaderImpl<KtSipTimestampHeader, HeaderTimestamp> {
public:
    static const KtString sToken;

    /// Empty timestamp and delay.
    KtSipTimestampHeader() = default;
    /// `timestamp` and `delay` (null for none).
    explicit KtSipTimestampHeader(const char* timestamp, const char* delay = nullptr);
    KtSipTimestampHeader(const KtSipTimestampHeader& other) = default;

    /// The timestamp text.
    const KtString& getTimestamp() const { return m_Timestamp; }
    /// The delay text; empty when absent.
    const KtString& getDelay() const { return m_Delay; }
    /// Replaces the timestamp.
    void setTimestamp(const char* timestamp) { m_Timestamp = KtString(timestamp); }
    /// Replaces the delay (null or empty removes it).
    void setDelay(const char* delay) { m_Delay = delay && *delay ? KtString(delay) : KtString(); }

    /// Reads the timestamp and the optional delay.
    void doParse(KtInputStream& in) override;
    /// Writes the timestamp, then one space and the delay when there is one.
    void doSerialize(KtOutputStream& out) const override;

private:
    KtString m_Timestamp;
    KtString m_Delay;
};

#endif
