// Date text: parsing, printing, rejects; the clock.
#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <string>

#include "KtDate.h"
#include "KtException.h"
#include "TestSupport.h"

TEST(KtDate, ParsesAcceptedForms) {
    struct Row { const char* text; long long time /* since the epoch */; const char* printed; } rows[] = {
        {"Sun, 06 Nov 1994 08:49:37 GMT", 784111777, "Sun, 06 Nov 1994 08:49:37 GMT"},
        {"  6 nov 1994 08:49:37 utc\r\n", 784111777, "Sun, 06 Nov 1994 08:49:37 GMT"},
        {"Mon ,\t06 NOV 1994 08:49:37 gmt", 784111777, "Sun, 06 Nov 1994 08:49:37 GMT"},
        {"Thu, 01 Jan 1970 00:00:00 GMT", 0, "Thu, 01 Jan 1970 00:00:00 GMT"},
        {"Thu, 29 Feb 2024 23:59:59 GMT", 1709251199, "Thu, 29 Feb 2024 23:59:59 GMT"},
        {"Tue, 29 Feb 2000 12:00:00 GMT", 951825600, "Tue, 29 Feb 2000 12:00:00 GMT"},
        {"Sat, 31 Dec 2039 23:59:60 GMT", 2208988800, "Sun, 01 Jan 2040 00:00:00 GMT"},
        {"Wed, 31 Dec 1969 23:59:59 GMT", -1, "Wed, 31 Dec 1969 23:59:59 GMT"},
        {"Fri, 13 Dec 1901 20:45:51 GMT", -2147483649LL, "Fri, 13 Dec 1901 20:45:51 GMT"},
        {"Tue, 19 Jan 2038 03:14:07 GMT", 2147483647LL, "Tue, 19 Jan 2038 03:14:07 GMT"},
        {"Thu, 31 Dec 2099 23:59:59 GMT", 4102444799LL, "Thu, 31 Dec 2099 23:59:59 GMT"},
        {"Fri, 31 Dec 9999 23:59:59 GMT", 253402300799LL, "Fri, 31 Dec 9999 23:59:59 GMT"},
        {"Sat, 01 Jan 0000 00:00:00 GMT", -62167219200LL, "Sat, 01 Jan 0000 00:00:00 GMT"},
    };
    for (const Row& r : rows) {
        KtDate date;
        ASSERT_NO_THROW(date.constructKtDate(r.text)) << r.text;
        EXPECT_EQ(date.getTime(), r.time) << r.text;
        KtDate same;
        same.setTime(r.time);
        EXPECT_TRUE(date == same) << r.text;
        char out[KtDate::TEXT_LENGTH + 1];
        date.getKtDate(out);
        EXPECT_STREQ(out, r.printed) << r.text;
        date.init();  // back to the epoch
        EXPECT_EQ(date.getTime(), 0) << r.text;
    }
}

// gmtime is the reference where time_t holds the time: everywhere on 64-bit builds, the years
// 1901 to 2038 on 32-bit ones (i386). Dates have 64 bits on every architecture: the fixed rows
// above and the round trips below cover the other years there.
static bool fitsTimeT(long long t) {
    return static_cast<long long>(static_cast<std::time_t>(t)) == t;
}

// Against a reference made from gmtime's fields, for times spread over the years 0 to 12000
// (leap days and centuries included): the written form agrees (past 9999 the text is cut to
// TEXT_LENGTH), and up to 9999 it parses back to the same time, as does the reference written
// with a bare day, months in any case and no day name.
TEST(KtDate, PrintingAndParsingAgreeWithGmtimeOverTheYears) {
    const long long kFirst = -62167219200LL;  // 0000-01-01T00:00:00Z
    const long long kEnd = 253402300800LL;    // 10000-01-01T00:00:00Z
    const long long kLast = 316592972800LL;   // about 12002-01-01
    static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    static const char* const oddMonths[] = {"jan", "FEB", "Mar", "apR", "May", "jUN",
                                            "Jul", "aug", "SEP", "Oct", "nOv", "Dec"};
    unsigned compared = 0;
    for (long long t = kFirst; t < kLast; t += 86400LL * 53 + 3671) {
        KtDate date;
        date.setTime(t);
        char out[KtDate::TEXT_LENGTH + 1];
        date.getKtDate(out);
        if (t < kEnd) {
            KtDate back;
            ASSERT_NO_THROW(back.constructKtDate(out)) << out;
            ASSERT_EQ(back.getTime(), t) << out;
        }
        if (!fitsTimeT(t)) continue;
        ++compared;
        const std::time_t time = static_cast<std::time_t>(t);
        struct tm parts;
        ASSERT_NE(gmtime_r(&time, &parts), nullptr);
        char expected[64];
        std::snprintf(expected, sizeof expected, "%s, %02d %s %04d %02d:%02d:%02d GMT", days[parts.tm_wday],
                      parts.tm_mday, months[parts.tm_mon], parts.tm_year + 1900, parts.tm_hour, parts.tm_min,
                      parts.tm_sec);
        expected[KtDate::TEXT_LENGTH] = '\0';
        ASSERT_STREQ(out, expected) << t;
        if (t >= kEnd) continue;
        char text[64];
        std::snprintf(text, sizeof text, "%d %s %04d %02d:%02d:%02d GMT", parts.tm_mday, oddMonths[parts.tm_mon],
                      parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec);
        KtDate parsed;
        ASSERT_NO_THROW(parsed.constructKtDate(text)) << text;
        ASSERT_EQ(parsed.getTime(), t) << text;
    }
    EXPECT_GE(compared, sizeof(std::time_t) >= 8 ? 70000u : 900u);
}

TEST(KtDate, RejectsMalformedText) {
    const char* bad[] = {
        "", "   ", "GMT", "Sun, 06 Nov 1994 08:49:37", "Sun, 06 Nov 1994 08:49:37 GMT x",
        "Sun 06 Nov 1994 08:49:37 GMT", "Sunday, 06 Nov 1994 08:49:37 GMT", "Xyz, 06 Nov 1994 08:49:37 GMT",
        "Sun, 06 Nov 94 08:49:37 GMT", "Sun, 06 Nov 19945 08:49:37 GMT", "Sun, 006 Nov 1994 08:49:37 GMT",
        "Sun, 06 Nov 1994 8:49:37 GMT", "Sun, 06 Nov 1994 08:49 GMT", "Sun, 06 Nov 1994 24:00:00 GMT",
        "Sun, 06 Nov 1994 23:60:00 GMT", "Sun, 06 Nov 1994 23:59:61 GMT", "Sun, 00 Nov 1994 08:49:37 GMT",
        "Sun, 31 Nov 1994 08:49:37 GMT", "Sun, 29 Feb 1900 08:49:37 GMT", "Sun, 30 Feb 2024 08:49:37 GMT",
        "Sun, 06 November 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37 EST", "Sun, 06Nov 1994 08:49:37 GMT",
        "Sun, 06 Nov 1994 08:49:37 +0000", "784111777",
    };
    for (const char* text : bad) {
        KtDate date;
        date.setTime(42);
        EXPECT_EQ(kttest::thrown([&] { date.constructKtDate(text); }), std::string("Invalid date: ") + text);
    }
    KtDate date;
    EXPECT_THROW(date.constructKtDate(nullptr), KtException);
}

TEST(KtTime, ReadsTheWallClock) {
    const std::time_t before = std::time(nullptr);
    const KtTime::Value now = KtTime::sGetCurrentTime();
    const std::time_t after = std::time(nullptr);
    EXPECT_GE(now.seconds, static_cast<unsigned>(before));
    EXPECT_LE(now.seconds, static_cast<unsigned>(after));
    EXPECT_LT(now.microseconds, 1000000u);
}
