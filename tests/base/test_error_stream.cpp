// The error stream: sinks, whole lines across threads, standard error.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "KtErrorStream.h"

namespace {

struct Capture {
    std::mutex mutex;
    std::vector<std::string> lines;
    static void sink(void* context, const char* line, unsigned length) {
        Capture* c = static_cast<Capture*>(context);
        std::lock_guard<std::mutex> lock(c->mutex);
        c->lines.emplace_back(line, length);
    }
};

// Installs a capture for the life of the test and puts the previous sink back.
class ErrorStreamTest : public ::testing::Test {
protected:
    void SetUp() override { KtErrorStream::sSetSink(&Capture::sink, &capture, &previous, &previousContext); }
    void TearDown() override { KtErrorStream::sSetSink(previous, previousContext); }
    Capture capture;
    KtErrorStream::Sink previous = nullptr;
    void* previousContext = nullptr;
};

}  // namespace

TEST_F(ErrorStreamTest, LinesLoseOneLineEnd) {
    KtErrorStream& es = KtErrorStream::sGetDefault();
    es.writeLine("Caught KtException from KtSipHeader::sConstructFrom(): ", "Invalid CSeq header");
    es.writeLine("a", nullptr, "c");
    { es.getDebugStream(KtString("x"), 0) << "with LF: " << 42 << "\n"; }
    { es.getDebugStream(KtString(), 7) << "with CR LF\r\n"; }
    { es.getDebugStream(KtString(), 0) << "two\nlines\n\n"; }
    { es.getDebugStream(KtString(), 0) << "\n"; }
    { KtErrorStream::Line unused = es.getDebugStream(KtString(), 0); }
    const std::vector<std::string> expected = {
        "Caught KtException from KtSipHeader::sConstructFrom(): Invalid CSeq header",
        "ac",
        "with LF: 42",
        "with CR LF",
        "two\nlines\n",
        "",
    };
    EXPECT_EQ(capture.lines, expected);
}

TEST_F(ErrorStreamTest, LinesFromManyThreadsStayWhole) {
    const int threads = 8, perThread = 300;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i) {
                const std::string id = std::to_string(t) + ":" + std::to_string(i);
                KtErrorStream::sGetDefault().writeLine("begin ", id.c_str(), " end");
                KtErrorStream::sGetDefault().getDebugStream(KtString(), 0) << "begin " << id.c_str() << " end\n";
            }
        });
    }
    for (std::thread& w : workers) w.join();
    ASSERT_EQ(capture.lines.size(), static_cast<size_t>(2 * threads * perThread));
    std::vector<int> counts(threads * perThread, 0);
    for (const std::string& line : capture.lines) {
        int t = -1, i = -1;
        char tail[8] = {0};
        ASSERT_EQ(std::sscanf(line.c_str(), "begin %d:%d %4s", &t, &i, tail), 3) << line;
        ASSERT_STREQ(tail, "end") << line;
        ASSERT_EQ(line, "begin " + std::to_string(t) + ":" + std::to_string(i) + " end");
        ++counts[t * perThread + i];
    }
    for (int c : counts) EXPECT_EQ(c, 2);
}

TEST_F(ErrorStreamTest, SinkWritingToTheStreamDoesNotDeadlock) {
    KtErrorStream::sSetSink(
        [](void*, const char* line, unsigned length) {
            KtErrorStream::sGetDefault().writeLine(std::string(line, length).c_str());
        },
        nullptr);
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    const int savedErr = dup(2);
    dup2(pipeFds[1], 2);
    KtErrorStream::sGetDefault().writeLine("nested");
    dup2(savedErr, 2);
    close(savedErr);
    close(pipeFds[1]);
    char buffer[64] = {0};
    const ssize_t n = read(pipeFds[0], buffer, sizeof buffer - 1);
    close(pipeFds[0]);
    EXPECT_EQ(std::string(buffer, n > 0 ? n : 0), "nested\n");
}

TEST(KtErrorStream, DefaultSinkWritesLinesToStandardError) {
    KtErrorStream::Sink previous = nullptr;
    void* previousContext = nullptr;
    KtErrorStream::sSetSink(nullptr, nullptr, &previous, &previousContext);
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    const int savedErr = dup(2);
    dup2(pipeFds[1], 2);
    KtErrorStream::sGetDefault().writeLine("first ", "line");
    { KtErrorStream::sGetDefault().getDebugStream(KtString(), 0) << "second\r\n"; }
    dup2(savedErr, 2);
    close(savedErr);
    close(pipeFds[1]);
    KtErrorStream::sSetSink(previous, previousContext);
    std::string text;
    char buffer[256];
    ssize_t n;
    while ((n = read(pipeFds[0], buffer, sizeof buffer)) > 0) text.append(buffer, n);
    close(pipeFds[0]);
    EXPECT_EQ(text, "first line\nsecond\n");
}
