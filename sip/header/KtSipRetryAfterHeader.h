// The Retry-After header.
#ifndef KTSIP_KT_SIP_RETRY_AFTER_HEADER_H
#define KTSIP_KT_SIP_RETRY_AFTER_HEADER_H

#include <optional>

#include "KtSipDeltaSecondsHeader.h"

/// Retry-After: seconds, or a date, with an optional "(comment)" and duration parameter.
/// In the seconds form only the number is read (what follows is left to the header line
/// reader); the comment and duration are read in the date form only.
class KtSipRetryAfterHeader
    : public KtSipHeaderImpl<KtSipRetryAfterHeader, HeaderRetryAfter, KtSipDeltaSecondsHeader> {
public:
    static const KtString sToken;
    static const char sDuration[];  ///< "duration"
    /// Longest date text and comment read, in bytes.
    static const unsigned MAX_TEXT = 256;

    /// 0 seconds, no comment, no duration.
    KtSipRetryAfterHeader() = default;
    /// `seconds`, no comment, no duration.
    explicit KtSipRetryAfterHeader(unsigned seconds) { m_Seconds = seconds; }
    KtSipRetryAfterHeader(const KtSipRetryAfterHeader& other) = default;

    /// The seconds (0 for a date).
    unsigned getSeconds() const { return static_cast<unsigned>(m_Seconds); }
    /// The comment without its parentheses; empty when absent.
    const KtString& getComment() const { return m_Comment; }
    /// True when a duration is set.
    bool hasDuration() const { return m_Duration.has_value(); }
    /// The duration in seconds (0 when unset).
    unsigned getDuration() const { return m_Duration.value_or(0); }

    /// Makes the value `seconds`.
    void setSeconds(unsigned seconds) { setSecondsValue(seconds); }
    /// Replaces the comment (null or empty removes it).
    void setComment(const char* comment) { m_Comment = comment && *comment ? KtString(comment) : KtString(); }
    /// Sets the duration.
    void setDuration(unsigned seconds) { m_Duration = seconds; }
    /// Removes the duration.
    void clearDuration() { m_Duration.reset(); }

    /// Reads seconds, or a date with its optional comment and duration. Throws
    /// KtSipParseError "Invalid Retry-After header", "Missing ')' for comment" or
    /// "Invalid Date in Retry-After header".
    void doParse(KtInputStream& in) override;
    /// Writes the value, then " (comment)" and "; duration=N" when set.
    void doSerialize(KtOutputStream& out) const override;

private:
    KtString m_Comment;
    std::optional<unsigned> m_Duration;
};

#endif
