// Dates in the RFC 1123 form, and the current time.
#include "KtDate.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <strings.h>
#include <time.h>

#include "KtException.h"
#include "KtScanner.h"

namespace {

const char* const sWeekdays[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const sMonths[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

using Scan = KtScanner;

// Reads exactly `count` digits; returns nullptr when they are not there.
const char* readDigits(const char* p, int count, int& value) {
    value = 0;
    for (int i = 0; i < count; ++i, ++p) {
        if (!Scan::sIsDigit(*p)) return nullptr;
        value = value * 10 + (*p - '0');
    }
    return p;
}

// Reads a three-letter name out of `table` (ASCII case ignored) followed by a
// non-letter; returns its index or -1.
int readName(const char*& p, const char* const* table, int count) {
    if (!Scan::sIsAlpha(p[0]) || !Scan::sIsAlpha(p[1]) || !Scan::sIsAlpha(p[2]) || Scan::sIsAlpha(p[3])) return -1;
    // The three letters in lower case (setting 0x20 lowers an ASCII letter), packed for one
    // comparison per name.
    auto packed = [](const char* n) {
        return (static_cast<unsigned>(static_cast<unsigned char>(n[0]) | 0x20u)) |
               (static_cast<unsigned>(static_cast<unsigned char>(n[1]) | 0x20u) << 8) |
               (static_cast<unsigned>(static_cast<unsigned char>(n[2]) | 0x20u) << 16);
    };
    const unsigned key = packed(p);
    for (int i = 0; i < count; ++i) {
        if (packed(table[i]) == key) {
            p += 3;
            return i;
        }
    }
    return -1;
}

// Days from 1970-01-01 to the given date of the proleptic Gregorian calendar (month 0-11),
// negative before it: the count timegm makes, by arithmetic on 400-year eras.
long long daysFromEpoch(int year, int month, int day) {
    const long long y = static_cast<long long>(year) - (month < 2 ? 1 : 0);
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yearOfEra = y - era * 400;                                      // 0-399
    const long long m = month + 1;                                                  // 1-12
    const long long dayOfYear = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + day - 1;  // from March 1st
    const long long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// The calendar fields of `t` seconds since the epoch, as gmtime gives them, worked out on
// 64 bits (the inverse of daysFromEpoch) so that a 32-bit time_t does not narrow the range.
// False where gmtime fails: a year beyond what tm_year (an int) holds.
struct Fields {
    long long year;
    int month, day, weekday, hour, minute, second;  // month 0-11, weekday 0 = Sunday
};
bool fieldsOf(long long t, Fields& f) {
    long long days = t / 86400, seconds = t % 86400;
    if (seconds < 0) seconds += 86400, --days;
    f.hour = static_cast<int>(seconds / 3600);
    f.minute = static_cast<int>(seconds / 60 % 60);
    f.second = static_cast<int>(seconds % 60);
    f.weekday = static_cast<int>((days % 7 + 11) % 7);  // 1970-01-01 was a Thursday
    const long long z = days + 719468;                  // days from 0000-03-01
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const long long dayOfEra = z - era * 146097;                                                       // 0-146096
    const long long yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;  // 0-399
    const long long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);      // from March 1st
    const long long m = (5 * dayOfYear + 2) / 153;                                                   // 0 = March
    f.day = static_cast<int>(dayOfYear - (153 * m + 2) / 5 + 1);
    f.month = static_cast<int>(m < 10 ? m + 2 : m - 10);
    f.year = yearOfEra + era * 400 + (f.month < 2 ? 1 : 0);
    return f.year - 1900 >= INT_MIN && f.year - 1900 <= INT_MAX;
}

bool isLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int daysIn(int month, int year) {
    static const int days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 1 && isLeap(year) ? 29 : days[month];
}

[[noreturn]] void invalid(const char* text) {
    std::string message("Invalid date: ");
    message.append(text ? text : "", 0, text ? std::min<std::size_t>(std::strlen(text), 128) : 0);
    KtException::sThrow(message.c_str());
}

}  // namespace

KtDate::KtDate() noexcept : m_Time(0) {}

void KtDate::init() noexcept { m_Time = 0; }

// Grammar (white space is spaces, tabs, CR and LF):
//   [ws] [weekday [ws] "," [ws]] day ws month ws year ws hh ":" mm ":" ss ws zone [ws]
// day is one or two digits and must exist in the month (leap years counted),
// year four digits, hh/mm/ss two digits each (hh 00-23, mm 00-59, ss 00-60; a
// leap second 60 rolls over into the next minute), month and weekday the
// English three-letter names and zone "GMT" or "UTC", names in any case. The
// weekday is not checked against the date: it carries no information and
// senders get it wrong. Text of no other shape is refused.
void KtDate::constructKtDate(const char* text) {
    if (text == nullptr) invalid(text);
    // The text is read up to its NUL, which also ends every look-ahead below.
    const char* const end = text + std::strlen(text);
    auto skipSpace = [end](const char* at) { return Scan::sSkipWhite(at, end); };
    const char* p = skipSpace(text);
    if (Scan::sIsAlpha(*p)) {
        if (readName(p, sWeekdays, 7) < 0) invalid(text);
        p = skipSpace(p);
        if (*p != ',') invalid(text);
        p = skipSpace(p + 1);
    }
    int day = 0;
    if (!Scan::sIsDigit(*p)) invalid(text);
    day = *p++ - '0';
    if (Scan::sIsDigit(*p)) day = day * 10 + (*p++ - '0');
    if (!Scan::sIsWhite(*p)) invalid(text);
    p = skipSpace(p);
    const int month = readName(p, sMonths, 12);
    if (month < 0 || !Scan::sIsWhite(*p)) invalid(text);
    p = skipSpace(p);
    int year = 0, hour = 0, minute = 0, second = 0;
    if ((p = readDigits(p, 4, year)) == nullptr || !Scan::sIsWhite(*p)) invalid(text);
    p = skipSpace(p);
    if ((p = readDigits(p, 2, hour)) == nullptr || *p++ != ':') invalid(text);
    if ((p = readDigits(p, 2, minute)) == nullptr || *p++ != ':') invalid(text);
    if ((p = readDigits(p, 2, second)) == nullptr || !Scan::sIsWhite(*p)) invalid(text);
    p = skipSpace(p);
    if (strncasecmp(p, "GMT", 3) != 0 && strncasecmp(p, "UTC", 3) != 0) invalid(text);
    p = skipSpace(p + 3);
    if (*p != '\0') invalid(text);
    if (day < 1 || day > daysIn(month, year) || hour > 23 || minute > 59 || second > 60) invalid(text);

    // What timegm gives for these fields (a second 60 is the first second of the next minute).
    m_Time = daysFromEpoch(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
}

// Writes "Www, DD Mmm YYYY hh:mm:ss GMT" (29 characters). Times whose year does
// not have four digits are cut to fit the 30-byte buffer; a time gmtime cannot
// represent is written as the epoch.
void KtDate::getKtDate(char* buffer) const {
    Fields parts;
    if (!fieldsOf(m_Time, parts)) fieldsOf(0, parts);
    if (parts.year >= 0 && parts.year <= 9999) {
        const int year = static_cast<int>(parts.year);
        // The usual date, "Www, DD Mmm YYYY hh:mm:ss GMT", written field by field (what the
        // format below gives, without a call of snprintf per Date header written).
        auto two = [](char* at, int value) {
            at[0] = static_cast<char>('0' + value / 10 % 10);
            at[1] = static_cast<char>('0' + value % 10);
        };
        std::memcpy(buffer, sWeekdays[parts.weekday], 3);
        std::memcpy(buffer + 3, ", ", 2);
        two(buffer + 5, parts.day);
        buffer[7] = ' ';
        std::memcpy(buffer + 8, sMonths[parts.month], 3);
        buffer[11] = ' ';
        two(buffer + 12, year / 100);
        two(buffer + 14, year % 100);
        buffer[16] = ' ';
        two(buffer + 17, parts.hour);
        buffer[19] = ':';
        two(buffer + 20, parts.minute);
        buffer[22] = ':';
        two(buffer + 23, parts.second);
        std::memcpy(buffer + 25, " GMT", 5);  // with the NUL
        return;
    }
    char text[128];
    int length = std::snprintf(text, sizeof text, "%s, %02d %s %04lld %02d:%02d:%02d GMT", sWeekdays[parts.weekday],
                               parts.day, sMonths[parts.month], parts.year, parts.hour, parts.minute, parts.second);
    if (length < 0) length = 0;
    if (length > static_cast<int>(TEXT_LENGTH)) length = TEXT_LENGTH;
    std::memcpy(buffer, text, static_cast<std::size_t>(length));
    buffer[length] = '\0';
}

KtTime::Value KtTime::sGetCurrentTime() noexcept {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    Value value;
    value.seconds = static_cast<unsigned int>(now.tv_sec);
    value.microseconds = static_cast<unsigned int>(now.tv_nsec / 1000);
    return value;
}
