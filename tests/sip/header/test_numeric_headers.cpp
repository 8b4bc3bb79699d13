// Number headers: CSeq, Content-Length, Max-Forwards, RSeq, RAck, Expires, Min-Expires,
// Min-SE, Session-Expires, Retry-After, Date, Timestamp.
#include <gtest/gtest.h>

#include "HeaderTestSupport.h"

#include <string>

#include "KtSipCSeqHeader.h"
#include "KtSipContentLengthHeader.h"
#include "KtSipDateHeader.h"
#include "KtSipExpiresHeader.h"
#include "KtSipMaxForwardsHeader.h"
#include "KtSipMinExpiresHeader.h"
#include "KtSipMinSEHeader.h"
#include "KtSipRAckHeader.h"
#include "KtSipRSeqHeader.h"
#include "KtSipRetryAfterHeader.h"
#include "KtSipSessionExpiresHeader.h"
#include "KtSipTimestampHeader.h"

namespace {

using namespace kttest;

const std::string kDate = "Sat, 13 Nov 2010 23:29:00 GMT";

TEST(NumericHeaders, ParseAndWrite) {
    // A line, the id of its header, and the line written ("": the line itself), without line ends.
    // (The typical value of each header is read and written by the header catalogue test.)
    const struct { std::string line; HeaderID id; std::string written; } rows[] = {
        {"CSeq:   4   invite", HeaderCSeq, "CSeq: 4 invite"}, {"l: 0", HeaderContentLength, ""},
        {"Content-Length: 150", HeaderContentLength, ""}, {"Max-Forwards: 0068", HeaderMaxForwards, "Max-Forwards: 68"},
        {"Max-Forwards: 300", HeaderMaxForwards, ""}, {"Expires: " + kDate, HeaderExpires, ""},
        {"Expires: " + std::string(63, '7'), HeaderExpires, "Expires: 2147483647"},
        {"Min-SE: 90;lr", HeaderMinSE, "Min-SE: 90"}, {"Session-Expires: 1800", HeaderSessionExpires, ""},
        {"x: 1800 ; refresher=UAS", HeaderSessionExpires, "x: 1800;refresher=UAS"},
        {"Retry-After: 120 (in a meeting);duration=60", HeaderRetryAfter, "Retry-After: 120"},
        {"Retry-After: " + kDate + " (lunch) ;duration=3600", HeaderRetryAfter,
         "Retry-After: " + kDate + " (lunch); duration=3600"},
        {"Timestamp: 54.21 0.3", HeaderTimestamp, ""}, {"Timestamp: 54", HeaderTimestamp, ""},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        KtHandle<KtSipHeader> header = parseHeaderLine(row.line);
        EXPECT_EQ(row.id, header->getHeaderID());
        EXPECT_TRUE(header->getNext().isNil());
        EXPECT_EQ((row.written.empty() ? row.line : row.written) + "\r\n", written(*header));
    }
}

TEST(NumericHeaders, MalformedLinesAreRefused) {
    const std::string cseq = "Invalid CSeq header", rack = "Invalid RAck header", expires = "Invalid Expires header",
                      minimum = "Invalid Minimum SE header", retry = "Invalid Retry-After header";
    const std::pair<std::string, std::string> rows[] = {
        {"CSeq: 4", cseq}, {"CSeq: INVITE", cseq}, {"CSeq: 36893488147419103232 REGISTER", cseq},
        {"Content-Length: -999", "Invalid Content-Length header"}, {"Max-Forwards: ", "Invalid Max-Forwards header"},
        {"RSeq: x", "Invalid RSeq header"}, {"RAck: 776656 1", rack}, {"RAck: 776656 INVITE", rack},
        {"Expires: " + std::string(64, '7'), "un-expecting end of file when parsing KtSipExpiresHeader"},
        {"Expires: soon", expires}, {"Expires: 10 minutes", expires}, {"Expires: ", expires},
        {"Min-SE: x", minimum}, {"Min-Expires: -60", minimum},
        {"Session-Expires: 1800;refresher=foo", "Invalid Refresher in Session-Expires Header"},
        {"Session-Expires: ;refresher=uac", "Invalid Session-Expires header"},
        {"Retry-After: " + kDate + " (lunch", "Missing ')' for comment"},
        {"Retry-After: tomorrow", "Invalid Date in Retry-After header"}, {"Retry-After: ;duration=1", retry},
        {"Retry-After: 949302838503028349304023988", retry}, {"Date: ", "Invalid Date header"},
        {"Timestamp: ", "Invalid Timestamp header, blank timestamp"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.second, thrown<KtSipParseError>([&] { parseHeaderLine(row.first); })) << row.first;
    // A date in another zone is refused with a plain KtException.
    EXPECT_EQ("Invalid Date in KtSipDateHeader",
              kttest::thrownOtherThan<KtSipParseError>([] { parseHeaderLine("Date: Fri, 01 Jan 2010 16:00:00 EST"); }));
}

TEST(NumericHeaders, FieldsAfterParsing) {
    KtHandle<KtSipCSeqHeader> cseq = parseAs<KtSipCSeqHeader>("CSeq: 4 invite");
    EXPECT_EQ("4 invite", std::to_string(cseq->getNumber()) + " " + cseq->getMethod().c_str());
    EXPECT_EQ(0u, parseAs<KtSipContentLengthHeader>("l: 0")->getValue());
    EXPECT_EQ(300u, parseAs<KtSipMaxForwardsHeader>("Max-Forwards: 300")->getValue());
    EXPECT_EQ(4294967295u, parseAs<KtSipRSeqHeader>("RSeq: 4294967295")->getValue());
    EXPECT_EQ(90u, parseAs<KtSipMinSEHeader>("Min-SE: 90")->getValue());
    EXPECT_EQ(60u, parseAs<KtSipMinExpiresHeader>("Min-Expires: 60")->getValue());
    KtHandle<KtSipRAckHeader> rack = parseAs<KtSipRAckHeader>("RAck: 776656 1 INVITE");
    EXPECT_EQ("776656 1 INVITE", std::to_string(rack->getResponseNumber()) + " " +
                                     std::to_string(rack->getCSeqNumber()) + " " + rack->getMethod().c_str());

    KtHandle<KtSipExpiresHeader> delta = parseAs<KtSipExpiresHeader>("Expires: 3600");
    EXPECT_FALSE(delta->isDate());
    EXPECT_EQ(3600, delta->getDelta());
    KtHandle<KtSipExpiresHeader> date = parseAs<KtSipExpiresHeader>("Expires: " + kDate);
    EXPECT_TRUE(date->isDate());
    EXPECT_EQ(1289690940, date->getDate().getTime());

    auto session = parseAs<KtSipSessionExpiresHeader>("Session-Expires: 1800;refresher=uac");
    EXPECT_EQ(1800u, session->getValue());
    EXPECT_STREQ("uac", session->getRefresher().c_str());
    EXPECT_STREQ("uac", session->getParameters()->getValue("refresher").c_str());

    auto retry = parseAs<KtSipRetryAfterHeader>("Retry-After: " + kDate + " (lunch);duration=3600");
    EXPECT_TRUE(retry->isDate() && retry->hasDuration());
    EXPECT_STREQ("lunch", retry->getComment().c_str());
    EXPECT_EQ(3600u, retry->getDuration());

    KtHandle<KtSipTimestampHeader> stamp = parseAs<KtSipTimestampHeader>("Timestamp: 54.21 0.3");
    EXPECT_STREQ("54.21", stamp->getTimestamp().c_str());
    EXPECT_STREQ("0.3", stamp->getDelay().c_str());
}

TEST(NumericHeaders, ConstructedHeadersWriteTheirValues) {
    EXPECT_EQ("CSeq: 7 ACK\r\n", written(KtSipCSeqHeader(7, "ACK")));
    EXPECT_EQ("Content-Length: 12\r\n", written(KtSipContentLengthHeader(12)));
    EXPECT_EQ("Max-Forwards: 70\r\n", written(KtSipMaxForwardsHeader(70)));
    EXPECT_EQ("RAck: 5 8 INVITE\r\n", written(KtSipRAckHeader(5, 8, "INVITE")));
    EXPECT_EQ("Expires: -1\r\n", written(KtSipExpiresHeader(-1)));
    EXPECT_EQ("Session-Expires: 90;refresher=uas\r\n", written(KtSipSessionExpiresHeader(90, "uas")));
    EXPECT_EQ("Retry-After: 30\r\n", written(KtSipRetryAfterHeader(30)));
    KtDate date;
    date.constructKtDate(kDate.c_str());
    EXPECT_EQ("Date: " + kDate + "\r\n", written(KtSipDateHeader(date)));
    EXPECT_EQ("Can't serialize Timestamp header, empty timestamp", thrown([] { written(KtSipTimestampHeader()); }));

    // Session-Expires checks its refresher (no refresher is valid; case is ignored).
    KtSipSessionExpiresHeader header(1800);
    header.checkValidity();
    header.setRefresher("foo");
    EXPECT_EQ("Invalid Refresher in Session-Expires Header", thrown<KtSipParseError>([&] { header.checkValidity(); }));
    header.setRefresher("UaC");
    header.checkValidity();
}

TEST(NumericHeaders, CloneCopiesValuesAndParameters) {
    KtHandle<KtSipHeader> original = parseHeaderLine("Session-Expires: 1800;refresher=uac");
    KtHandle<KtSipHeader> copy = original->clone();
    KtSipSessionExpiresHeader* session = dynamic_cast<KtSipSessionExpiresHeader*>(copy.get());
    ASSERT_NE(nullptr, session);
    session->setRefresher("uas");
    EXPECT_EQ("Session-Expires: 1800;refresher=uac\r\n", written(*original));
    EXPECT_EQ("Session-Expires: 1800;refresher=uas\r\n", written(*copy));

    KtSipCSeqHeader cseq(9, "BYE");
    KtHandle<KtSipHeader> cseqCopy = cseq.clone();
    cseq.setNumber(10);
    EXPECT_EQ("CSeq: 9 BYE\r\n", written(*cseqCopy));
}

}  // namespace
