// Strings: copy on write, comparisons, trimming, parsing from streams.
#include <gtest/gtest.h>

#include <cstring>

#include "KtInputStream.h"
#include "KtScanner.h"
#include "KtString.h"
#include "TestSupport.h"

TEST(KtString, CopiesShareUntilOneIsWritten) {
    KtString a("Via");
    KtString b = a;
    EXPECT_EQ(a.get(), b.get());
    b.append("-X");
    EXPECT_STREQ(a.c_str(), "Via");
    EXPECT_STREQ(b.c_str(), "Via-X");
    EXPECT_NE(a.get(), b.get());
}

TEST(KtString, NilAndEmptyReadAlike) {
    KtString nil;
    EXPECT_TRUE(nil.isNil() && nil.empty() && KtString("").empty());
    EXPECT_STREQ(nil.c_str(), "");
    EXPECT_EQ(nil.compareWith(""), 0);
    EXPECT_EQ(KtString(static_cast<const char*>(nullptr)).length(), 0u);
}

TEST(KtString, ComparisonsAndSearch) {
    struct Row { const char* a; const char* b; bool exact; bool noCase; } rows[] = {
        {"Call-ID", "Call-ID", true, true}, {"Call-ID", "CALL-id", false, true},
        {"Call-ID", "Call-IDs", false, false}, {"", "", true, true},
    };
    for (const Row& r : rows) {
        KtString s(r.a);
        EXPECT_EQ(s.compareWith(r.b) == 0, r.exact) << r.a << " vs " << r.b;
        EXPECT_EQ(s.compareNoCase(r.b) == 0, r.noCase) << r.a << " vs " << r.b;
    }
    KtStringBuffer* b = KtStringBuffer::sCreate("auth,auth-int");
    KtString hold(b);
    EXPECT_EQ(b->indexOf("auth-int"), 5);
    EXPECT_EQ(b->indexOf("auth", 1), 5);
    EXPECT_EQ(b->indexOf("md5"), -1);
    EXPECT_STREQ(b->substr(5, 100).c_str(), "auth-int");
    EXPECT_STREQ(b->substr(50, 2).c_str(), "");
}

TEST(KtString, TrimCaseAndDirectWriting) {
    KtString s(" \t Hello World \r\n");
    s.trim();
    EXPECT_STREQ(s.c_str(), "Hello World");
    s.toUpper();
    EXPECT_STREQ(s.c_str(), "HELLO WORLD");
    s.toLower();
    EXPECT_STREQ(s.c_str(), "hello world");
    KtStringBuffer* b = s.mutableBuffer();
    char* raw = b->lockBuffer(200);
    std::memset(raw, 'x', 200);
    b->releaseBuffer(150);
    EXPECT_EQ(s.length(), 150u);
    EXPECT_EQ(s.c_str()[150], '\0');
}

TEST(KtString, GrowsPastItsInlineRoomAndAppendsItself) {
    KtString s("0123456789");
    for (int i = 0; i < 6; ++i) s.mutableBuffer()->append(s.get());
    EXPECT_EQ(s.length(), 640u);
    EXPECT_EQ(std::string(s.c_str(), 10), "0123456789");
    EXPECT_EQ(std::string(s.c_str() + 630, 10), "0123456789");
}

TEST(KtStringBuffer, ParseSkipsLeadingBlanksAndLeavesTheDelimiter) {
    // input, delimiters, the value read, the byte left in the stream (-1 at the end)
    struct Row { const char* input; const char* delimiters; const char* value; int next; } rows[] = {
        {"  SIP/2.0", "/", "SIP", '/'}, {"\tudp host", " \t", "udp", ' '}, {"value", ",", "value", -1},
        {" ", ",", "", -1}, {",x", ",", "", ','},
    };
    for (const Row& r : rows) {
        KtByteArrayInputStream in = kttest::streamOf(r.input);
        KtString s("");
        s.mutableBuffer()->parse(in, r.delimiters);
        EXPECT_STREQ(s.c_str(), r.value) << r.input;
        EXPECT_EQ(in.peek(), r.next) << r.input;
    }
}

TEST(KtConstString, AssignCompareUpper) {
    KtConstString t("udp");
    t.toUpper();
    EXPECT_EQ(t.compare("UDP"), 0);
    KtConstString copy = t;
    copy.assign("tcp");
    EXPECT_STREQ(t.c_str(), "UDP");
    copy.releaseBuffer();
    EXPECT_TRUE(copy.empty());
}

// The inline copy and comparison take a different path per length class (up to 3, 4-7,
// 8-16, longer); each length is checked with a difference at every position, and nothing
// outside the range may be read or written.
TEST(KtBytes, CopyAndCompareEveryLengthAndPosition) {
    const char source[] = "abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGH";
    for (unsigned n = 0; n <= 40; ++n) {
        char copy[48];
        std::memset(copy, '#', sizeof copy);
        ktCopyBytes(copy + 1, source, n);
        EXPECT_EQ(std::memcmp(copy + 1, source, n), 0) << n;
        EXPECT_EQ(copy[0], '#') << n;
        EXPECT_EQ(copy[n + 1], '#') << n;
        EXPECT_TRUE(ktEqualBytes(copy + 1, source, n)) << n;
        for (unsigned i = 0; i < n; ++i) {
            char other[48];
            std::memcpy(other, source, n);
            other[i] ^= 0x20;
            EXPECT_FALSE(ktEqualBytes(other, source, n)) << n << " at " << i;
        }
    }
}

// The finders see every position of ranges across the sixteen- and thirty-two-byte steps and
// their tails, never a byte past the end (the byte after the range is a match that must stay
// unseen).
TEST(KtBytes, FindFirstOfOneOrTwoBytesAtEveryPosition) {
    for (unsigned n = 0; n <= 72; ++n) {
        char text[80];
        std::memset(text, 'x', sizeof text);
        text[n] = '\r';
        EXPECT_EQ(ktFindEither(text, text + n, '\r', '\n'), text + n) << n;
        EXPECT_EQ(ktFindEitherLong(text, text + n, '\r', '\n'), text + n) << n;
        EXPECT_EQ(ktFindByte(text, text + n, '\r'), text + n) << n;
        for (unsigned i = 0; i < n; ++i) {
            for (unsigned j = i; j < n; ++j) {
                char t[80];
                std::memcpy(t, text, sizeof t);
                t[i] = '\n';
                t[j] = j == i ? '\n' : '\r';
                EXPECT_EQ(ktFindEither(t, t + n, '\r', '\n'), t + i) << n << " " << i << " " << j;
                EXPECT_EQ(ktFindEitherLong(t, t + n, '\n', '\r'), t + i) << n << " " << i << " " << j;
                EXPECT_EQ(ktFindEitherLong(t + i + 1, t + n, '\r', '\n'), j == i ? t + n : t + j) << n << " " << i;
                EXPECT_EQ(ktFindByte(t, t + n, '\r'), j == i ? t + n : t + j) << n << " " << i << " " << j;
            }
        }
    }
}

// findIn and skipIn agree with a byte-by-byte walk for sets with no word byte (searched in
// sixteen-byte steps), with every word byte (skipped in steps) and with some (byte by byte),
// over texts that mix word bytes, other printable bytes and bytes from 0x80 up, at every start.
TEST(KtDelimiterSet, FindAndSkipAgreeWithByteWalk) {
    KtDelimiterSet allWords("");
    for (unsigned c = 0; c < 256; ++c)
        if (KtDelimiterSet::sIsWordByte(static_cast<unsigned char>(c))) allWords.add(static_cast<unsigned char>(c));
    KtDelimiterSet allWordsAndAt = allWords;
    allWordsAndAt.add('@');
    const KtDelimiterSet sets[] = {
        KtDelimiterSet(" \t\r\n\\\"()<>@,;:/[]?={}"), KtDelimiterSet("\r\n\",=\\;"), KtDelimiterSet(";"),
        KtDelimiterSet("a;"), KtDelimiterSet("-"), allWords, allWordsAndAt, KtDelimiterSet(nullptr),
    };
    const std::string texts[] = {
        "z9hG4bK.nashds-9ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789;branch=1",
        "alice@atlanta.example.com_under`tick~tilde[br]{c}^|\x80\xff\x7f end;x",
        std::string("pc33.atlanta.com\0nul-inside.example.org:5060;lr", 47),
        "", "a", "@", "0123456789abcdef", "0123456789abcdef@",
    };
    for (const KtDelimiterSet& set : sets) {
        for (const std::string& t : texts) {
            const char* end = t.data() + t.size();
            for (const char* p = t.data(); p <= end; ++p) {
                const char* find = p;
                while (find < end && !set.contains(static_cast<unsigned char>(*find))) ++find;
                const char* skip = p;
                while (skip < end && set.contains(static_cast<unsigned char>(*skip))) ++skip;
                EXPECT_EQ(set.findIn(p, end), find) << t << " from " << (p - t.data());
                EXPECT_EQ(set.skipIn(p, end), skip) << t << " from " << (p - t.data());
            }
        }
    }
}

// A run is the same span, and leaves the stream at the same byte, whether it lies whole in
// the window or arrives one byte per refill; a run longer than the buffer's limit is refused
// either way, with the handler's error when there is one.
TEST(KtScanner, TakenRunsAgreeAcrossWindowsAndKeepTheLimit) {
    const KtDelimiterSet digits("0123456789");
    const struct {
        std::string input;
        bool until;  // up to a digit rather than over digits
        unsigned limit;
        const char* span;  // null: refused
        const char* left;
    } rows[] = {
        {"5060;lr", false, 1023, "5060", ";lr"}, {"host:5060", true, 1023, "host:", "5060"},
        {"12345", false, 1023, "12345", ""},     {"x1", false, 1023, "", "x1"},
        {"", true, 1023, "", ""},                {"1234;", false, 4, "1234", ";"},
        {"12345;", false, 4, nullptr, ""},       {"abcde", true, 4, nullptr, ""},
    };
    struct Overflow {};
    for (const auto& r : rows) {
        kttest::readWholeAndTrickled(r.input, [&](KtInputStream& in, const char* how) {
            const std::string label = r.input + " " + how;
            KtScannerBuffer quiet(nullptr, r.limit);
            const char *b = nullptr, *e = nullptr;
            const bool taken = r.until ? KtScanner::sTakeUntil(in, digits, quiet, b, e)
                                       : KtScanner::sTakeWhile(in, digits, quiet, b, e);
            EXPECT_EQ(taken, r.span != nullptr) << label;
            if (r.span == nullptr) {
                KtScannerBuffer loud([] { throw Overflow(); }, r.limit);
                KtByteArrayInputStream again = kttest::streamOf(r.input);
                EXPECT_THROW(KtScanner::sGatherUntil(again, KtDelimiterSet(";"), loud), Overflow) << label;
                return;
            }
            EXPECT_EQ(std::string(b, e), r.span) << label;
            EXPECT_EQ(kttest::drain(in), r.left) << label;
        });
    }
    char word[] = "Via \t ";
    EXPECT_EQ(KtScanner::sTrimBlanksEnd(word, 6), 3u);
    EXPECT_STREQ(word, "Via");
}
