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

using ktsiptest::written;

KtHandle<KtSipHeader> parseLine(const std::string& line) { return ktsiptest::parseHeaderText(line); }

// Parses `line` and checks that it yields one header of class T.
template <class T>
KtHandle<T> parseAs(const std::string& line) {
    KtHandle<KtSipHeader> header = parseLine(line);
    KtHandle<T> typed = header.dynamicCast<T>();
    EXPECT_FALSE(typed.isNil()) << line;
    return typed;
}

const char kDate[] = "Sat, 13 Nov 2010 23:29:00 GMT";
const std::string kDigits63(63, '7');
const std::string kDigits64(64, '7');

enum Outcome { OK, PARSE_ERROR, PLAIN_ERROR };

struct NumericRow {
    std::string line;
    HeaderID id;
    Outcome outcome;
    std::string expected;  // the written line for OK, the exception text otherwise
};

const NumericRow kRows[] = {
    {"CSeq: 4 INVITE\r\n", HeaderCSeq, OK, "CSeq: 4 INVITE\r\n"},
    {"CSeq:   4   invite\r\n", HeaderCSeq, OK, "CSeq: 4 invite\r\n"},
    {"CSeq: 4\r\n", HeaderCSeq, PARSE_ERROR, "Invalid CSeq header"},
    {"CSeq: INVITE\r\n", HeaderCSeq, PARSE_ERROR, "Invalid CSeq header"},
    {"CSeq: 36893488147419103232 REGISTER\r\n", HeaderCSeq, PARSE_ERROR, "Invalid CSeq header"},
    {"l: 0\r\n", HeaderContentLength, OK, "l: 0\r\n"},
    {"Content-Length: 150\r\n", HeaderContentLength, OK, "Content-Length: 150\r\n"},
    {"Content-Length: -999\r\n", HeaderContentLength, PARSE_ERROR, "Invalid Content-Length header"},
    {"Max-Forwards: 0068\r\n", HeaderMaxForwards, OK, "Max-Forwards: 68\r\n"},
    {"Max-Forwards: 300\r\n", HeaderMaxForwards, OK, "Max-Forwards: 300\r\n"},
    {"Max-Forwards: \r\n", HeaderMaxForwards, PARSE_ERROR, "Invalid Max-Forwards header"},
    {"RSeq: 988789\r\n", HeaderRSeq, OK, "RSeq: 988789\r\n"},
    {"RSeq: x\r\n", HeaderRSeq, PARSE_ERROR, "Invalid RSeq header"},
    {"RAck: 776656 1 INVITE\r\n", HeaderRAck, OK, "RAck: 776656 1 INVITE\r\n"},
    {"RAck: 776656 1\r\n", HeaderRAck, PARSE_ERROR, "Invalid RAck header"},
    {"RAck: 776656 INVITE\r\n", HeaderRAck, PARSE_ERROR, "Invalid RAck header"},
    {"Expires: 3600\r\n", HeaderExpires, OK, "Expires: 3600\r\n"},
    {std::string("Expires: ") + kDate + "\r\n", HeaderExpires, OK, std::string("Expires: ") + kDate + "\r\n"},
    {"Expires: " + kDigits63 + "\r\n", HeaderExpires, OK, "Expires: 2147483647\r\n"},
    {"Expires: " + kDigits64 + "\r\n", HeaderExpires, PARSE_ERROR,
     "un-expecting end of file when parsing KtSipExpiresHeader"},
    {"Expires: soon\r\n", HeaderExpires, PARSE_ERROR, "Invalid Expires header"},
    {"Expires: 10 minutes\r\n", HeaderExpires, PARSE_ERROR, "Invalid Expires header"},
    {"Expires: \r\n", HeaderExpires, PARSE_ERROR, "Invalid Expires header"},
    {"Min-SE: 90;lr\r\n", HeaderMinSE, OK, "Min-SE: 90\r\n"},
    {"Min-SE: x\r\n", HeaderMinSE, PARSE_ERROR, "Invalid Minimum SE header"},
    {"Min-Expires: 60\r\n", HeaderMinExpires, OK, "Min-Expires: 60\r\n"},
    {"Min-Expires: -60\r\n", HeaderMinExpires, PARSE_ERROR, "Invalid Minimum SE header"},
    {"Session-Expires: 1800;refresher=uac\r\n", HeaderSessionExpires, OK, "Session-Expires: 1800;refresher=uac\r\n"},
    {"x: 1800 ; refresher=UAS\r\n", HeaderSessionExpires, OK, "x: 1800;refresher=UAS\r\n"},
    {"Session-Expires: 1800\r\n", HeaderSessionExpires, OK, "Session-Expires: 1800\r\n"},
    {"Session-Expires: 1800;refresher=foo\r\n", HeaderSessionExpires, PARSE_ERROR,
     "Invalid Refresher in Session-Expires Header"},
    {"Session-Expires: ;refresher=uac\r\n", HeaderSessionExpires, PARSE_ERROR, "Invalid Session-Expires header"},
    {"Retry-After: 120\r\n", HeaderRetryAfter, OK, "Retry-After: 120\r\n"},
    {"Retry-After: 120 (in a meeting);duration=60\r\n", HeaderRetryAfter, OK, "Retry-After: 120\r\n"},
    {std::string("Retry-After: ") + kDate + " (lunch) ;duration=3600\r\n", HeaderRetryAfter, OK,
     std::string("Retry-After: ") + kDate + " (lunch); duration=3600\r\n"},
    {std::string("Retry-After: ") + kDate + " (lunch\r\n", HeaderRetryAfter, PARSE_ERROR, "Missing ')' for comment"},
    {"Retry-After: tomorrow\r\n", HeaderRetryAfter, PARSE_ERROR, "Invalid Date in Retry-After header"},
    {"Retry-After: ;duration=1\r\n", HeaderRetryAfter, PARSE_ERROR, "Invalid Retry-After header"},
    {"Retry-After: 949302838503028349304023988\r\n", HeaderRetryAfter, PARSE_ERROR, "Invalid Retry-After header"},
    {std::string("Date: ") + kDate + "\r\n", HeaderDate, OK, std::string("Date: ") + kDate + "\r\n"},
    {"Date: \r\n", HeaderDate, PARSE_ERROR, "Invalid Date header"},
    {"Date: Fri, 01 Jan 2010 16:00:00 EST\r\n", HeaderDate, PLAIN_ERROR, "Invalid Date in KtSipDateHeader"},
    {"Timestamp: 54.21 0.3\r\n", HeaderTimestamp, OK, "Timestamp: 54.21 0.3\r\n"},
    {"Timestamp: 54\r\n", HeaderTimestamp, OK, "Timestamp: 54\r\n"},
    {"Timestamp: \r\n", HeaderTimestamp, PARSE_ERROR, "Invalid Timestamp header, blank timestamp"},
};

TEST(NumericHeaders, ParseWriteAndErrors) {
    for (const NumericRow& row : kRows) {
        SCOPED_TRACE(row.line);
        try {
            KtHandle<KtSipHeader> header = parseLine(row.line);
            ASSERT_EQ(OK, row.outcome) << "no exception";
            EXPECT_EQ(row.id, header->getHeaderID());
            EXPECT_TRUE(header->getNext().isNil());
            EXPECT_EQ(row.expected, written(*header));
        } catch (const KtSipParseError& e) {
            EXPECT_EQ(PARSE_ERROR, row.outcome);
            EXPECT_EQ(row.expected, e.getMessage());
        } catch (const KtException& e) {
            EXPECT_EQ(PLAIN_ERROR, row.outcome);
            EXPECT_EQ(row.expected, e.getMessage());
        }
    }
}

TEST(NumericHeaders, FieldsAfterParsing) {
    KtHandle<KtSipCSeqHeader> cseq = parseAs<KtSipCSeqHeader>("CSeq: 4 invite\r\n");
    EXPECT_EQ(4u, cseq->getNumber());
    EXPECT_STREQ("invite", cseq->getMethod().c_str());

    EXPECT_EQ(0u, parseAs<KtSipContentLengthHeader>("l: 0\r\n")->getValue());
    EXPECT_EQ(300u, parseAs<KtSipMaxForwardsHeader>("Max-Forwards: 300\r\n")->getValue());
    EXPECT_EQ(4294967295u, parseAs<KtSipRSeqHeader>("RSeq: 4294967295\r\n")->getValue());
    EXPECT_EQ(90u, parseAs<KtSipMinSEHeader>("Min-SE: 90\r\n")->getValue());
    EXPECT_EQ(60u, parseAs<KtSipMinExpiresHeader>("Min-Expires: 60\r\n")->getValue());

    KtHandle<KtSipRAckHeader> rack = parseAs<KtSipRAckHeader>("RAck: 776656 1 INVITE\r\n");
    EXPECT_EQ(776656u, rack->getResponseNumber());
    EXPECT_EQ(1u, rack->getCSeqNumber());
    EXPECT_STREQ("INVITE", rack->getMethod().c_str());

    KtHandle<KtSipExpiresHeader> delta = parseAs<KtSipExpiresHeader>("Expires: 3600\r\n");
    EXPECT_FALSE(delta->isDate());
    EXPECT_EQ(3600, delta->getDelta());
    KtHandle<KtSipExpiresHeader> date = parseAs<KtSipExpiresHeader>(std::string("Expires: ") + kDate + "\r\n");
    EXPECT_TRUE(date->isDate());
    EXPECT_EQ(1289690940, date->getDate().getTime());

    KtHandle<KtSipSessionExpiresHeader> session =
        parseAs<KtSipSessionExpiresHeader>("Session-Expires: 1800;refresher=uac\r\n");
    EXPECT_EQ(1800u, session->getValue());
    EXPECT_STREQ("uac", session->getRefresher().c_str());
    EXPECT_STREQ("uac", session->getParameters()->getValue("refresher").c_str());

    KtHandle<KtSipRetryAfterHeader> retry =
        parseAs<KtSipRetryAfterHeader>(std::string("Retry-After: ") + kDate + " (lunch);duration=3600\r\n");
    EXPECT_TRUE(retry->isDate());
    EXPECT_STREQ("lunch", retry->getComment().c_str());
    EXPECT_TRUE(retry->hasDuration());
    EXPECT_EQ(3600u, retry->getDuration());

    KtHandle<KtSipTimestampHeader> stamp = parseAs<KtSipTimestampHeader>("Timestamp: 54.21 0.3\r\n");
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
    date.constructKtDate(kDate);
    EXPECT_EQ(std::string("Date: ") + kDate + "\r\n", written(KtSipDateHeader(date)));

    try {
        written(KtSipTimestampHeader());
        ADD_FAILURE() << "no exception";
    } catch (const KtException& e) {
        EXPECT_STREQ("Can't serialize Timestamp header, empty timestamp", e.getMessage());
    }
}

TEST(NumericHeaders, SessionExpiresValidityCheck) {
    KtSipSessionExpiresHeader header(1800);
    header.checkValidity();  // no refresher: valid
    header.setRefresher("foo");
    try {
        header.checkValidity();
        ADD_FAILURE() << "no exception";
    } catch (const KtSipParseError& e) {
        EXPECT_STREQ("Invalid Refresher in Session-Expires Header", e.getMessage());
    }
    header.setRefresher("UaC");
    header.checkValidity();
}

TEST(NumericHeaders, CloneCopiesValuesAndParameters) {
    KtHandle<KtSipHeader> original = parseLine("Session-Expires: 1800;refresher=uac\r\n");
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
