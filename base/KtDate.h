// Calendar dates in the RFC 1123 form used by the Date, Expires and Retry-After headers.
#ifndef KTSIP_KT_DATE_H
#define KTSIP_KT_DATE_H

/// A calendar date and time in UTC, read and written as "Sun, 06 Nov 1994 08:49:37 GMT".
class KtDate {
public:
    /// Length of the text getKtDate writes, without its NUL.
    static constexpr unsigned TEXT_LENGTH = 29;

    KtDate() noexcept;
    /// Resets to the epoch (Thu, 01 Jan 1970 00:00:00 GMT).
    void init() noexcept;
    /// Parses `text`. Accepted: an optional weekday name and comma, day, month name,
    /// four-digit year, hh:mm:ss and "GMT" (or "UTC"), separated by white space; surrounding
    /// white space is ignored. Throws KtException "Invalid date: <text>" otherwise.
    void constructKtDate(const char* text);
    /// Writes the date text and a NUL into `buffer`, which holds at least 30 bytes.
    void getKtDate(char* buffer) const;
    /// Seconds since the epoch. 64 bits on every architecture (wider than a 32-bit time_t),
    /// so that dates of the years 0 to 9999 read and print alike everywhere.
    long long getTime() const noexcept { return m_Time; }
    /// Sets the date from seconds since the epoch.
    void setTime(long long t) noexcept { m_Time = t; }
    bool operator==(const KtDate& o) const noexcept { return m_Time == o.m_Time; }

private:
    long long m_Time;
};

/// The current time.
class KtTime {
public:
    /// Seconds and microseconds since the epoch; the first word is the seconds.
    struct Value {
        unsigned int seconds;
        unsigned int microseconds;
    };
    /// Reads the clock.
    static Value sGetCurrentTime() noexcept;
};

#endif
