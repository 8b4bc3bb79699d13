// The error stream: sinks, whole lines across threads, standard error.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "KtErrorStream.h"

namespace {

std::mutex sMutex;
std::vector<std::string> sLines;

void capture(void*, const char* line, unsigned length) {
    std::lock_guard<std::mutex> lock(sMutex);
    sLines.emplace_back(line, length);
}

// What `write` sends to file descriptor 2, with `sink` installed meanwhile.
std::string standardErrorOf(KtErrorStream::Sink sink, const std::function<void()>& write) {
    KtErrorStream::Sink previous = nullptr;
    void* previousContext = nullptr;
    KtErrorStream::sSetSink(sink, nullptr, &previous, &previousContext);
    int fds[2];
    if (pipe(fds) != 0) return "<pipe failed>";
    const int saved = dup(2);
    dup2(fds[1], 2);
    write();
    dup2(saved, 2);
    close(saved);
    close(fds[1]);
    KtErrorStream::sSetSink(previous, previousContext);
    std::string text;
    char buffer[256];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof buffer)) > 0) text.append(buffer, n);
    close(fds[0]);
    return text;
}

class ErrorStreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        sLines.clear();
        KtErrorStream::sSetSink(&capture, nullptr, &previous, &previousContext);
    }
    void TearDown() override { KtErrorStream::sSetSink(previous, previousContext); }
    KtErrorStream::Sink previous = nullptr;
    void* previousContext = nullptr;
};

}  // namespace

TEST_F(ErrorStreamTest, LinesLoseOneLineEnd) {
    KtErrorStream& es = KtErrorStream::sGetDefault();
    es.writeLine("Caught KtException from KtSipHeader::sConstructFrom(): ", "Invalid CSeq header");
    es.writeLine("a", nullptr, "c");
    es.getDebugStream(KtString("x"), 0) << "with LF: " << 42 << "\n";
    es.getDebugStream(KtString(), 7) << "with CR LF\r\n";
    es.getDebugStream(KtString(), 0) << "two\nlines\n\n";
    es.getDebugStream(KtString(), 0) << "\n";
    { KtErrorStream::Line unused = es.getDebugStream(KtString(), 0); }
    const std::vector<std::string> expected = {
        "Caught KtException from KtSipHeader::sConstructFrom(): Invalid CSeq header", "ac", "with LF: 42", "with CR LF",
        "two\nlines\n", ""};
    EXPECT_EQ(sLines, expected);
}

TEST_F(ErrorStreamTest, LinesFromManyThreadsStayWhole) {
    const int threads = 8, perThread = 300;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i) {
                const std::string id = std::to_string(t) + ":" + std::to_string(i);
                KtErrorStream::sGetDefault().writeLine("begin ", id.c_str(), " end");
                KtErrorStream::sGetDefault().getDebugStream(KtString(), 0) << "begin " << id.c_str() << " end\n";
            }
        });
    for (std::thread& w : workers) w.join();
    ASSERT_EQ(sLines.size(), static_cast<size_t>(2 * threads * perThread));
    std::vector<int> counts(threads * perThread, 0);
    for (const std::string& line : sLines) {
        int t = -1, i = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "begin %d:%d", &t, &i), 2) << line;
        ASSERT_EQ(line, "begin " + std::to_string(t) + ":" + std::to_string(i) + " end");
        ++counts[t * perThread + i];
    }
    for (int c : counts) EXPECT_EQ(c, 2);
}

TEST(KtErrorStream, StandardErrorGetsDefaultAndNestedLines) {
    EXPECT_EQ(standardErrorOf(nullptr, [] {
                  KtErrorStream::sGetDefault().writeLine("first ", "line");
                  KtErrorStream::sGetDefault().getDebugStream(KtString(), 0) << "second\r\n";
              }), "first line\nsecond\n");
    // A sink that writes to the error stream itself neither deadlocks nor loops.
    auto echo = [](void*, const char* line, unsigned length) {
        KtErrorStream::sGetDefault().writeLine(std::string(line, length).c_str(), " (again)");
    };
    EXPECT_EQ(standardErrorOf(echo, [] { KtErrorStream::sGetDefault().writeLine("nested"); }), "nested (again)\n");
}
