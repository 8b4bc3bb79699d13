// Logger levels and threshold, trace scopes, assertions and checked casts.
#include <gtest/gtest.h>

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <string>
#include <vector>

#include "KtObject.h"
#include "TestSupport.h"
#include "TorvaneAssert.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("test.assert")

namespace {

struct Record { int level; std::string message, file; int line; };

class CaptureAppender : public log4cplus::Appender {
public:
    std::vector<Record> records;
    ~CaptureAppender() override { destructorImpl(); }
    void close() override {}

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& e) override {
        records.push_back({e.getLogLevel(), e.getMessage(), e.getFile(), e.getLine()});
    }
};

void setLevel(const char* name, int level) { log4cplus::Logger::getInstance(name).setLogLevel(level); }

// Captures the records of test.log and test.assert and the error stream's lines;
// puts levels, appenders, the threshold and the sink back afterwards.
class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"test.log", "test.assert"}) {
            log4cplus::Logger::getInstance(name).addAppender(log4cplus::SharedAppenderPtr(appender));
            log4cplus::Logger::getInstance(name).setAdditivity(false);
        }
    }
    void TearDown() override {
        for (const char* name : {"test.log", "test.log.child", "test.assert"}) {
            log4cplus::Logger::getInstance(name).removeAllAppenders();
            setLevel(name, log4cplus::NOT_SET_LOG_LEVEL);
        }
        log4cplus::Logger::getRoot().setLogLevel(log4cplus::DEBUG_LOG_LEVEL);
        Torvane::Logger::sSetThreshold(Torvane::OFF_LOG_LEVEL);
    }
    CaptureAppender* appender = new CaptureAppender;  // owned by log4cplus once added
    kttest::ErrorCapture errors;
};

struct Base : KtObject {};
struct Derived : Base {};

}  // namespace

TEST_F(LoggerTest, DisabledLevelsFormatNothing) {
    const Torvane::Logger logger("test.log");
    // log4cplus level of test.log, threshold taken from log4cplus (else it stays off),
    // level of the statement, whether it is logged
    struct Row { int configured; bool refresh; int statement; bool logged; } rows[] = {
        {Torvane::TRACE_LOG_LEVEL, false, Torvane::ERROR_LOG_LEVEL, false},
        {Torvane::TRACE_LOG_LEVEL, true, Torvane::TRACE_LOG_LEVEL, true},
        {Torvane::INFO_LOG_LEVEL, true, Torvane::DEBUG_LOG_LEVEL, false},
        {Torvane::INFO_LOG_LEVEL, true, Torvane::INFO_LOG_LEVEL, true},
        {Torvane::OFF_LOG_LEVEL, true, Torvane::ERROR_LOG_LEVEL, false},
    };
    for (const Row& r : rows) {
        setLevel("test.log", r.configured);
        Torvane::Logger::sSetThreshold(Torvane::OFF_LOG_LEVEL);
        if (r.refresh) Torvane::Logger::sRefreshThreshold();
        appender->records.clear();
        int formatted = 0;
        const int line = __LINE__; TORVANE_LOG(logger, r.statement, "value " << ++formatted);
        EXPECT_EQ(formatted, r.logged ? 1 : 0) << r.configured << "/" << r.statement;
        ASSERT_EQ(appender->records.size(), r.logged ? 1u : 0u);
        if (r.logged) {
            const Record& rec = appender->records[0];
            EXPECT_EQ(rec.level, r.statement);
            EXPECT_EQ(rec.message, "value 1");
            EXPECT_EQ(rec.file + ":" + std::to_string(rec.line), __FILE__ ":" + std::to_string(line));
        }
    }
}

TEST_F(LoggerTest, LevelsAndThresholdFollowLog4cplus) {
    const Torvane::Logger logger("test.log");
    EXPECT_EQ(logger.getLogLevel(), Torvane::NOT_SET_LOG_LEVEL);
    setLevel("test.log", Torvane::WARN_LOG_LEVEL);
    EXPECT_EQ(logger.getLogLevel(), Torvane::WARN_LOG_LEVEL);
    // The threshold is the most verbose level set on any logger (root, test.log, test.log.child).
    const int U = Torvane::NOT_SET_LOG_LEVEL, W = Torvane::WARN_LOG_LEVEL, I = Torvane::INFO_LOG_LEVEL;
    const int rows[][4] = {{log4cplus::ERROR_LOG_LEVEL, W, U, W}, {log4cplus::ERROR_LOG_LEVEL, W, I, I},
                           {log4cplus::TRACE_LOG_LEVEL, W, I, Torvane::TRACE_LOG_LEVEL},
                           {log4cplus::OFF_LOG_LEVEL, U, U, Torvane::OFF_LOG_LEVEL}};
    for (const auto& r : rows) {
        log4cplus::Logger::getRoot().setLogLevel(r[0]);
        setLevel("test.log", r[1]);
        setLevel("test.log.child", r[2]);
        Torvane::Logger::sRefreshThreshold();
        EXPECT_EQ(Torvane::Logger::sGetThreshold(), r[3]) << r[0] << "/" << r[1] << "/" << r[2];
    }
}

TEST_F(LoggerTest, TraceFollowsOwnOrInheritedLevel) {
    const Torvane::Logger child("test.log.child");
    const int T = Torvane::TRACE_LOG_LEVEL, D = Torvane::DEBUG_LOG_LEVEL, U = Torvane::NOT_SET_LOG_LEVEL;
    const int rows[][3] = {{T, U, 1}, {D, U, 0}, {D, T, 1}, {T, Torvane::INFO_LOG_LEVEL, 0}};  // parent, own, trace
    for (const auto& r : rows) {
        setLevel("test.log", r[0]);
        setLevel("test.log.child", r[1]);
        Torvane::Logger::sSetThreshold(T);
        EXPECT_EQ(child.isTraceEnabled(), r[2] == 1) << r[0] << "/" << r[1];
        Torvane::Logger::sSetThreshold(D);
        EXPECT_FALSE(child.isTraceEnabled());
    }
}

TEST_F(LoggerTest, TraceScopeLogsEntryAndExit) {
    const Torvane::Logger logger("test.log");
    setLevel("test.log", Torvane::TRACE_LOG_LEVEL);
    Torvane::Logger::sRefreshThreshold();
    try {
        TORVANE_TRACE_SCOPE(logger, "KtSipHeader::parse");
        TORVANE_DEBUG(logger, "inside");
        throw 1;
    } catch (int) {
    }
    ASSERT_EQ(appender->records.size(), 3u);
    EXPECT_EQ(appender->records[0].message + "|" + appender->records[1].message + "|" + appender->records[2].message,
              "Entering KtSipHeader::parse|inside|Exiting KtSipHeader::parse");
    EXPECT_EQ(appender->records[0].level + appender->records[2].level, Torvane::TRACE_LOG_LEVEL * 2);

    setLevel("test.log", Torvane::DEBUG_LOG_LEVEL);
    appender->records.clear();
    { TORVANE_TRACE_SCOPE(logger, "KtSipAcceptHeader ctor"); }
    EXPECT_TRUE(appender->records.empty());
}

TEST_F(LoggerTest, FailedAssertionsAndCastsAreReportedAndCounted) {
    Derived derived;
    Base base;
    Base* pDerived = &derived;
    Base* pBase = &base;
    Base* pNull = nullptr;
    const unsigned long before = Torvane::assertionFailures();
    TORVANE_ASSERT(1 + 1 == 2);
    EXPECT_EQ(TORVANE_DYNCAST_ASSERT(Derived, pDerived), &derived);
    EXPECT_EQ(Torvane::assertionFailures(), before);
    EXPECT_TRUE(errors.lines.empty());

    const std::string where = " (test_logger.cpp:";
    const int line1 = __LINE__; EXPECT_EQ(TORVANE_DYNCAST_ASSERT(Derived, pBase), nullptr);
    const int line2 = __LINE__; EXPECT_EQ(TORVANE_DYNCAST_ASSERT(Derived, pNull), nullptr);
    EXPECT_TRUE(appender->records.empty());  // logging is off: only the error stream hears of them
    setLevel("test.assert", Torvane::ERROR_LOG_LEVEL);
    Torvane::Logger::sRefreshThreshold();
    const int line3 = __LINE__; TORVANE_ASSERT(1 + 1 == 3);
    EXPECT_EQ(Torvane::assertionFailures(), before + 3);
    const std::vector<std::string> expected = {
        "Checked cast failed, wrong type: TORVANE_DYNCAST_ASSERT(Derived, pBase)" + where + std::to_string(line1) + ")",
        "Checked cast failed, null pointer: TORVANE_DYNCAST_ASSERT(Derived, pNull)" + where + std::to_string(line2) + ")",
        "Assertion failed: 1 + 1 == 3" + where + std::to_string(line3) + ")",
    };
    EXPECT_EQ(errors.lines, expected);
    ASSERT_EQ(appender->records.size(), 1u);
    EXPECT_EQ(appender->records[0].message, expected[2]);
    EXPECT_EQ(appender->records[0].level, Torvane::ERROR_LOG_LEVEL);
}
