// The loop that bench/profile/breakdown.sh runs under the valgrind tools: parses (or parses
// and serializes) the typical corpus a given number of times, one message per call of a
// function the tools can be told to watch (profileParse, profileParseSerialize).
//
// usage: profile_loop parse|serialize PASSES CORPUS_DIR [REPEAT]
//        (REPEAT > 1: each message is handled REPEAT times in a row before the next one, so
//        that its code and data stay in the caches: against REPEAT 1, the cost of the
//        message types taking turns)
//        profile_loop clock     (x86-64: the core's clock while busy, from a chain of adds)
// Prints, on stdout, the address of the marker written before every message (for the
// memory-trace count of cache lines), the pool blocks taken per message and the thread's CPU
// time per message over the run.
#include <dirent.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "KtException.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipMessage.h"
#include "TorvaneMemAllocator.h"

namespace {

// Written once before each message: its stores mark message boundaries in a memory trace.
alignas(64) volatile unsigned gMarker = 0;

double threadCpuNs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) * 1e9 + static_cast<double>(ts.tv_nsec);
}

unsigned long long poolBlocks() {
    unsigned long long n = 0;
    for (const Torvane::PoolStats& s : Torvane::MemPool::sStats()) n += s.allocations;
    return n;
}

std::vector<std::string> loadTypical(const std::string& dir) {
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (const dirent* e = readdir(d)) {
            const std::string n = e->d_name;
            // The typical set: "NN-name.sip" (the large INVITE is left out).
            if (n.size() > 7 && n[0] >= '0' && n[0] <= '9' && n.compare(n.size() - 4, 4, ".sip") == 0)
                names.push_back(n);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    std::vector<std::string> texts;
    for (const std::string& n : names) {
        std::ifstream f(dir + "/" + n, std::ios::binary);
        std::ostringstream s;
        s << f.rdbuf();
        texts.push_back(s.str());
    }
    return texts;
}

}  // namespace

// Parses one message and frees it; false when it is refused.
extern "C" __attribute__((noinline)) bool profileParse(const std::string& text) {
    KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
    KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
    return message->isValid();
}

// Parses one message, writes it into `out` (cleared first) and frees it.
extern "C" __attribute__((noinline)) bool profileParseSerialize(const std::string& text,
                                                                KtByteArrayOutputStream& out) {
    KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
    KtHandle<KtSipMessage> message = KtSipMessage::sConstructFrom(in);
    if (!message->isValid()) return false;
    out.clear();
    message->serialize(out);
    return true;
}

// Cycles per nanosecond of thread CPU time: a chain of dependent adds runs at one add per
// cycle, so timing a known number of them gives the clock the core actually runs at
// (boost included), which turns the loop's nanoseconds into cycles.
double clockGHz() {
#if defined(__x86_64__)
    const long iterations = 200000000;  // eight adds each
    long x = 0;
    const double t0 = threadCpuNs();
    for (long i = 0; i < iterations; ++i)
        __asm__ volatile("add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\t"
                         "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0"
                         : "+r"(x));
    return 8.0 * static_cast<double>(iterations) / (threadCpuNs() - t0);
#else
    return 0;
#endif
}

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "clock") == 0) {
        std::printf("ghz %.3f\n", clockGHz());
        return 0;
    }
    if (argc < 4 || argc > 5 || (std::strcmp(argv[1], "parse") != 0 && std::strcmp(argv[1], "serialize") != 0)) {
        std::fprintf(stderr, "usage: profile_loop parse|serialize PASSES CORPUS_DIR [REPEAT]\n");
        return 2;
    }
    const bool serialize = std::strcmp(argv[1], "serialize") == 0;
    const long passes = std::max(1L, std::atol(argv[2]));
    const long repeat = argc == 5 ? std::max(1L, std::atol(argv[4])) : 1;
    const std::vector<std::string> corpus = loadTypical(argv[3]);
    if (corpus.empty()) {
        std::fprintf(stderr, "profile_loop: no NN-*.sip message in %s\n", argv[3]);
        return 2;
    }
    std::printf("marker %p\n", static_cast<const void*>(const_cast<unsigned*>(&gMarker)));
    KtByteArrayOutputStream out(8192);
    const unsigned long long blocks0 = poolBlocks();
    const double t0 = threadCpuNs();
    try {
        for (long p = 0; p < passes; ++p) {
            for (const std::string& text : corpus) {
                for (long r = 0; r < repeat; ++r) {
                    gMarker = gMarker + 1;
                    const bool ok = serialize ? profileParseSerialize(text, out) : profileParse(text);
                    if (!ok) {
                        std::fprintf(stderr, "profile_loop: a corpus message was refused\n");
                        return 1;
                    }
                }
            }
        }
    } catch (const KtException& e) {
        std::fprintf(stderr, "profile_loop: %s\n", e.getMessage());
        return 1;
    }
    gMarker = gMarker + 1;
    const double messages = static_cast<double>(passes * repeat) * static_cast<double>(corpus.size());
    std::printf("messages %.0f\npool-blocks-per-message %.2f\nns-per-message %.1f\n", messages,
                static_cast<double>(poolBlocks() - blocks0) / messages, (threadCpuNs() - t0) / messages);
    return 0;
}
