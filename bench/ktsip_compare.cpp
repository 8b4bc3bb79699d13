// ktsip against the peer SIP libraries compiled into this binary (osip2, sofia-sip,
// belle-sip), on the same corpus, in the same process.
//
// Timing: every (library, mode, message) gets a batch size calibrated to take about
// --batch-ms; then, --reps times, the messages are walked in order and for each message
// every library runs one batch of each mode, the libraries in an order rotated by one at
// each repetition. Reported figures are medians over the repetitions, so a burst of load
// from other processes hits one sample of each library rather than one library's whole run.
//
// Heap calls are counted by the malloc replacement of HeapCounter.cpp; ktsip's pooled
// allocations by the counters of its pools (Torvane::MemPool::sStats).
//
// Output: a table on stdout, the same figures as JSON (--json), and a last line
// "ktsip speedup vs fastest peer: parse X.XX, parse+serialize Y.YY".
#include <getopt.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Corpus.h"
#include "HeapCounter.h"
#include "Peers.h"
#include "TorvaneMemAllocator.h"

using ktbench::Corpus;
using ktbench::CorpusMessage;
using ktbench::Peer;
using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

namespace {

struct Options {
    std::string corpusDir = ktbench::defaultCorpusDir();
    std::string jsonPath;
    int reps = 21;
    double batchMs = 4.0;
    double threadSeconds = 1.0;
    int threadRounds = 3;
    bool threads = true;
    bool wallClock = false;
    long parseLoop = 0;  // > 0: only parse the typical corpus that many times (for profilers)
    std::vector<std::string> libraries;  // empty: all compiled in
};

enum Mode { PARSE = 0, PARSE_SERIALIZE = 1, MODE_COUNT = 2 };
const char* const kModeNames[MODE_COUNT] = {"parse", "parse_serialize"};
const char* const kModeTitles[MODE_COUNT] = {"parse", "parse + serialize"};

double median(std::vector<double> v) {
    if (v.empty()) return std::nan("");
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2.0;
}

// MB/s (10^6 bytes per second) of `bytes` processed in `ns` nanoseconds.
double mbps(double bytes, double ns) { return ns > 0 ? bytes * 1000.0 / ns : 0.0; }

// Keeps the result of an operation observable so the call cannot be dropped.
volatile std::size_t gSink = 0;

inline void runOnce(Peer& p, Mode mode, const CorpusMessage& m) {
    if (mode == PARSE)
        gSink = gSink + (p.parse(m.text.data(), m.text.size()) ? 1 : 0);
    else
        gSink = gSink + p.parseSerialize(m.text.data(), m.text.size());
}

// The clock of the timed batches: the calling thread's CPU time by default (time the thread
// spends descheduled while other processes run does not count), or the monotonic wall clock.
clockid_t gBatchClock = CLOCK_THREAD_CPUTIME_ID;

double clockNs() {
    timespec ts{};
    clock_gettime(gBatchClock, &ts);
    return static_cast<double>(ts.tv_sec) * 1e9 + static_cast<double>(ts.tv_nsec);
}

double timeBatch(Peer& p, Mode mode, const CorpusMessage& m, long count) {
    const double t0 = clockNs();
    for (long i = 0; i < count; ++i) runOnce(p, mode, m);
    return clockNs() - t0;
}

// The number of runs that take about `targetNs`.
long calibrate(Peer& p, Mode mode, const CorpusMessage& m, double targetNs) {
    long count = 1;
    for (;;) {
        const double ns = timeBatch(p, mode, m, count);
        if (ns >= targetNs / 8 || count >= (1L << 24)) {
            const double per = ns / count;
            return std::max(1L, static_cast<long>(std::ceil(targetNs / std::max(per, 1.0))));
        }
        count *= 4;
    }
}

struct PoolTotals {
    unsigned long long allocations = 0;
    unsigned long long systemAllocations = 0;
};

PoolTotals poolTotals() {
    PoolTotals t;
    for (const Torvane::PoolStats& s : Torvane::MemPool::sStats()) {
        t.allocations += s.allocations;
        t.systemAllocations += s.systemAllocations;
    }
    return t;
}

struct Allocs {
    double heapAllocs = 0;       // per parse
    double heapFrees = 0;        // per parse
    double heapAllocsSer = 0;    // per parse + serialize
    double poolAllocs = -1;      // per parse (ktsip only)
    double poolSystemAllocs = -1;
};

// Heap calls (and, for ktsip, pool allocations) per run, averaged over `runs` runs after a
// warm-up, so that pools, caches and lazily built tables are in their steady state.
Allocs countAllocs(Peer& p, const CorpusMessage& m, bool pools) {
    const int warm = 50;
    const int runs = 200;
    for (int i = 0; i < warm; ++i) {
        runOnce(p, PARSE, m);
        runOnce(p, PARSE_SERIALIZE, m);
    }
    Allocs a;
    PoolTotals p0;
    if (pools) p0 = poolTotals();
    const ktbench::HeapCounts h0 = ktbench::heapCounts();
    for (int i = 0; i < runs; ++i) runOnce(p, PARSE, m);
    const ktbench::HeapCounts h1 = ktbench::heapCounts();
    if (pools) {
        const PoolTotals p1 = poolTotals();
        a.poolAllocs = static_cast<double>(p1.allocations - p0.allocations) / runs;
        a.poolSystemAllocs = static_cast<double>(p1.systemAllocations - p0.systemAllocations) / runs;
    }
    a.heapAllocs = static_cast<double>(h1.allocs - h0.allocs) / runs;
    a.heapFrees = static_cast<double>(h1.frees - h0.frees) / runs;
    const ktbench::HeapCounts h2 = ktbench::heapCounts();
    for (int i = 0; i < runs; ++i) runOnce(p, PARSE_SERIALIZE, m);
    const ktbench::HeapCounts h3 = ktbench::heapCounts();
    a.heapAllocsSer = static_cast<double>(h3.allocs - h2.allocs) / runs;
    return a;
}

// One threads run: the summed rate of the threads in messages per second of wall time, and
// messages per second of the threads' own CPU time (a drop of the latter from 1 to 2 threads
// shows contention inside the library; a drop of the former alone, a lack of free cores).
struct ThreadRun {
    double wallRate = 0;
    double cpuRate = 0;
};

double threadCpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// `threads` threads, each with its own library instance and its own copy of the typical
// corpus, parse for `seconds`.
ThreadRun threadRate(const std::string& library, const Corpus& corpus, int threads, double seconds) {
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::atomic<bool> stop{false};
    std::vector<double> wallRates(threads, 0.0);
    std::vector<double> counts(threads, 0.0);
    std::vector<double> cpuSeconds(threads, 0.0);
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([&, t] {
            std::unique_ptr<Peer> p = ktbench::makePeer(library);
            std::vector<CorpusMessage> own = corpus.typical;  // independent messages
            for (const CorpusMessage& m : own) p->parse(m.text.data(), m.text.size());
            ready.fetch_add(1);
            while (!go.load(std::memory_order_acquire)) std::this_thread::yield();
            const Clock::time_point t0 = Clock::now();
            const double c0 = threadCpuSeconds();
            unsigned long long count = 0;
            while (!stop.load(std::memory_order_relaxed)) {
                for (const CorpusMessage& m : own) p->parse(m.text.data(), m.text.size());
                count += own.size();
            }
            cpuSeconds[t] = threadCpuSeconds() - c0;
            const double s = std::chrono::duration<double>(Clock::now() - t0).count();
            wallRates[t] = static_cast<double>(count) / s;
            counts[t] = static_cast<double>(count);
        });
    }
    while (ready.load() < threads) std::this_thread::yield();
    go.store(true, std::memory_order_release);
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    stop.store(true);
    for (std::thread& th : pool) th.join();
    ThreadRun run;
    double totalCount = 0, totalCpu = 0;
    for (int t = 0; t < threads; ++t) {
        run.wallRate += wallRates[t];
        totalCount += counts[t];
        totalCpu += cpuSeconds[t];
    }
    run.cpuRate = totalCpu > 0 ? totalCount / totalCpu : 0.0;
    return run;
}

void usage(const char* argv0) {
    std::printf(
        "usage: %s [options]\n"
        "  --corpus DIR         corpus directory (default %s)\n"
        "  --reps N             repetitions of the interleaved walk (default 21)\n"
        "  --batch-ms MS        time of one batch (default 4)\n"
        "  --libs a,b,...       libraries to run (default: all built in: ktsip first)\n"
        "  --thread-seconds S   duration of one threads run (default 1)\n"
        "  --thread-rounds N    threads runs per thread count, median taken (default 3)\n"
        "  --no-threads         skip the threads benchmark\n"
        "  --wall               time batches by the wall clock (default: thread CPU time)\n"
        "  --json FILE          write the results as JSON\n"
        "  --parse-loop N       only parse the typical corpus N times with the first library of\n"
        "                       --libs, print the time and exit (for perf or callgrind)\n"
        "  --quick              --reps 5 --batch-ms 1 --thread-seconds 0.3 --thread-rounds 1\n",
        argv0, ktbench::defaultCorpusDir().c_str());
}

Options parseOptions(int argc, char** argv) {
    Options o;
    enum { CORPUS = 1, REPS, BATCH, LIBS, TSEC, TROUNDS, NOTHREADS, JSON, QUICK, WALL, LOOP, HELP };
    static const option longOptions[] = {
        {"corpus", required_argument, nullptr, CORPUS},   {"reps", required_argument, nullptr, REPS},
        {"batch-ms", required_argument, nullptr, BATCH},  {"libs", required_argument, nullptr, LIBS},
        {"thread-seconds", required_argument, nullptr, TSEC},
        {"thread-rounds", required_argument, nullptr, TROUNDS},
        {"no-threads", no_argument, nullptr, NOTHREADS},  {"json", required_argument, nullptr, JSON},
        {"quick", no_argument, nullptr, QUICK},           {"wall", no_argument, nullptr, WALL},
        {"parse-loop", required_argument, nullptr, LOOP},
        {"help", no_argument, nullptr, HELP},
        {nullptr, 0, nullptr, 0}};
    int c;
    while ((c = getopt_long(argc, argv, "", longOptions, nullptr)) != -1) {
        switch (c) {
            case CORPUS: o.corpusDir = optarg; break;
            case REPS: o.reps = std::max(1, std::atoi(optarg)); break;
            case BATCH: o.batchMs = std::max(0.05, std::atof(optarg)); break;
            case LIBS: {
                std::string s = optarg;
                std::size_t pos = 0;
                while (pos <= s.size()) {
                    const std::size_t comma = s.find(',', pos);
                    const std::size_t n = comma == std::string::npos ? std::string::npos : comma - pos;
                    const std::string name = s.substr(pos, n);
                    if (!name.empty()) o.libraries.push_back(name);
                    if (comma == std::string::npos) break;
                    pos = comma + 1;
                }
                break;
            }
            case TSEC: o.threadSeconds = std::max(0.05, std::atof(optarg)); break;
            case TROUNDS: o.threadRounds = std::max(1, std::atoi(optarg)); break;
            case NOTHREADS: o.threads = false; break;
            case JSON: o.jsonPath = optarg; break;
            case QUICK:
                o.reps = 5;
                o.batchMs = 1;
                o.threadSeconds = 0.3;
                o.threadRounds = 1;
                break;
            case WALL: o.wallClock = true; break;
            case LOOP: o.parseLoop = std::max(1L, std::atol(optarg)); break;
            case HELP: usage(argv[0]); std::exit(0);
            default: usage(argv[0]); std::exit(2);
        }
    }
    if (optind != argc) {
        usage(argv[0]);
        std::exit(2);
    }
    return o;
}

std::string cpuModel() {
    std::ifstream in("/proc/cpuinfo");
    std::string line;
    while (std::getline(in, line)) {
        if (line.compare(0, 10, "model name") == 0) {
            const std::size_t colon = line.find(':');
            if (colon != std::string::npos) return line.substr(colon + 2);
        }
    }
    return "unknown";
}

std::string nowIso() {
    const std::time_t t = std::time(nullptr);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&t));
    return buf;
}

Json loadAverage() {
    double l[3] = {0, 0, 0};
    if (getloadavg(l, 3) != 3) return Json();
    return Json::array({l[0], l[1], l[2]});
}

// Ratio of the fastest accepting peer's time to ktsip's time; also names that peer.
struct Fastest {
    std::string name;
    double ns = 0;
    double ratio = std::nan("");
};

}  // namespace

int main(int argc, char** argv) {
    const Options opt = parseOptions(argc, argv);
    gBatchClock = opt.wallClock ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID;
    Corpus corpus;
    try {
        corpus = ktbench::loadCorpus(opt.corpusDir);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ktsip_compare: %s\n", e.what());
        return 1;
    }

    std::vector<std::string> names = opt.libraries.empty() ? ktbench::peerNames() : opt.libraries;
    std::vector<std::unique_ptr<Peer>> libs;
    try {
        for (const std::string& n : names) libs.push_back(ktbench::makePeer(n));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ktsip_compare: %s (built in:", e.what());
        for (const std::string& n : ktbench::peerNames()) std::fprintf(stderr, " %s", n.c_str());
        std::fprintf(stderr, ")\n");
        return 2;
    }
    const std::size_t L = libs.size();
    int ktIndex = -1;
    for (std::size_t l = 0; l < L; ++l)
        if (names[l] == "ktsip") ktIndex = static_cast<int>(l);

    if (opt.parseLoop > 0) {
        Peer& p = *libs.front();
        const double t0 = clockNs();
        for (long i = 0; i < opt.parseLoop; ++i)
            for (const CorpusMessage& m : corpus.typical) runOnce(p, PARSE, m);
        const double ns = clockNs() - t0;
        std::printf("%s: %ld passes over %zu messages, %.0f ns/message\n", p.name(), opt.parseLoop,
                    corpus.typical.size(), ns / (static_cast<double>(opt.parseLoop) * corpus.typical.size()));
        return 0;
    }

    // Messages: the typical ones, then the large INVITE.
    std::vector<const CorpusMessage*> msgs;
    for (const CorpusMessage& m : corpus.typical) msgs.push_back(&m);
    msgs.push_back(&corpus.large);
    const std::size_t M = msgs.size();
    const std::size_t T = corpus.typical.size();

    const bool heapActive = ktbench::heapCounterActive();
    const Json loadBefore = loadAverage();
    std::printf("ktsip_compare: %zu typical messages (%zu bytes) + %s (%zu bytes); libraries:", T,
                corpus.typicalBytes(), corpus.large.name.c_str(), corpus.large.text.size());
    for (std::size_t l = 0; l < L; ++l) std::printf(" %s %s", libs[l]->name(), libs[l]->version());
    std::printf("\n");

    // ---- acceptance, output sanity, calibration ----------------------------------------
    std::vector<std::vector<bool>> accepted(L, std::vector<bool>(M, true));
    std::vector<std::vector<std::string>> refusal(L, std::vector<std::string>(M));
    std::vector<std::vector<std::size_t>> outBytes(L, std::vector<std::size_t>(M, 0));
    for (std::size_t l = 0; l < L; ++l) {
        for (std::size_t m = 0; m < M; ++m) {
            const std::string& t = msgs[m]->text;
            if (!libs[l]->parse(t.data(), t.size())) {
                accepted[l][m] = false;
                refusal[l][m] = libs[l]->lastError();
                std::printf("  warning: %s refuses %s: %s\n", libs[l]->name(), msgs[m]->name.c_str(),
                            refusal[l][m].c_str());
                continue;
            }
            const std::string out = libs[l]->serialized(t.data(), t.size());
            outBytes[l][m] = out.size();
            if (out.empty()) {
                std::printf("  warning: %s writes nothing for %s: %s\n", libs[l]->name(), msgs[m]->name.c_str(),
                            libs[l]->lastError().c_str());
            } else if (static_cast<int>(l) == ktIndex) {
                // What ktsip writes must read back to the same text.
                const std::string again = libs[l]->serialized(out.data(), out.size());
                if (again != out)
                    std::printf("  warning: ktsip output of %s does not read back to the same text\n",
                                msgs[m]->name.c_str());
            }
        }
    }

    const double targetNs = opt.batchMs * 1e6;
    std::vector<long> batch(L * MODE_COUNT * M, 1);
    auto at = [&](std::size_t l, int mode, std::size_t m) { return (l * MODE_COUNT + mode) * M + m; };
    for (std::size_t m = 0; m < M; ++m)
        for (std::size_t l = 0; l < L; ++l)
            for (int mode = 0; mode < MODE_COUNT; ++mode)
                batch[at(l, mode, m)] = calibrate(*libs[l], static_cast<Mode>(mode), *msgs[m], targetNs);

    // ---- interleaved timing ----------------------------------------------------------------
    std::vector<std::vector<double>> samples(L * MODE_COUNT * M);
    for (int r = 0; r < opt.reps; ++r) {
        for (std::size_t m = 0; m < M; ++m) {
            for (std::size_t i = 0; i < L; ++i) {
                const std::size_t l = (i + r) % L;
                for (int mode = 0; mode < MODE_COUNT; ++mode) {
                    const long n = batch[at(l, mode, m)];
                    samples[at(l, mode, m)].push_back(timeBatch(*libs[l], static_cast<Mode>(mode), *msgs[m], n) / n);
                }
            }
        }
        std::fprintf(stderr, "\r  repetition %d/%d", r + 1, opt.reps);
    }
    std::fprintf(stderr, "\n");

    // Per message medians; per corpus: median over repetitions of the summed pass time.
    std::vector<double> med(L * MODE_COUNT * M);
    for (std::size_t k = 0; k < med.size(); ++k) med[k] = median(samples[k]);
    std::vector<double> corpusNs(L * MODE_COUNT);  // ns per pass over the typical set
    for (std::size_t l = 0; l < L; ++l) {
        for (int mode = 0; mode < MODE_COUNT; ++mode) {
            std::vector<double> pass(opt.reps, 0.0);
            for (int r = 0; r < opt.reps; ++r)
                for (std::size_t m = 0; m < T; ++m) pass[r] += samples[at(l, mode, m)][r];
            corpusNs[l * MODE_COUNT + mode] = median(pass);
        }
    }
    auto allAccepted = [&](std::size_t l, bool typicalOnly, std::size_t onlyMessage) {
        if (!typicalOnly) return bool(accepted[l][onlyMessage]);
        for (std::size_t m = 0; m < T; ++m)
            if (!accepted[l][m]) return false;
        return true;
    };
    auto fastest = [&](int mode, bool typical, std::size_t m) {
        Fastest f;
        if (ktIndex < 0) return f;
        const double kt = typical ? corpusNs[ktIndex * MODE_COUNT + mode] : med[at(ktIndex, mode, m)];
        for (std::size_t l = 0; l < L; ++l) {
            if (static_cast<int>(l) == ktIndex || !allAccepted(l, typical, m)) continue;
            const double ns = typical ? corpusNs[l * MODE_COUNT + mode] : med[at(l, mode, m)];
            if (f.name.empty() || ns < f.ns) {
                f.name = libs[l]->name();
                f.ns = ns;
            }
        }
        if (!f.name.empty() && kt > 0) f.ratio = f.ns / kt;
        return f;
    };

    // ---- allocations -------------------------------------------------------------------------
    std::vector<Allocs> allocs(L * M);
    for (std::size_t l = 0; l < L; ++l)
        for (std::size_t m = 0; m < M; ++m)
            allocs[l * M + m] = countAllocs(*libs[l], *msgs[m], static_cast<int>(l) == ktIndex);

    // ---- threads -----------------------------------------------------------------------------
    std::vector<double> rate1(L, 0), rate2(L, 0), cpu1(L, 0), cpu2(L, 0);
    if (opt.threads) {
        for (std::size_t l = 0; l < L; ++l) {
            std::vector<double> r1, r2, c1, c2;
            for (int round = 0; round < opt.threadRounds; ++round) {
                const ThreadRun one = threadRate(names[l], corpus, 1, opt.threadSeconds);
                const ThreadRun two = threadRate(names[l], corpus, 2, opt.threadSeconds);
                r1.push_back(one.wallRate);
                c1.push_back(one.cpuRate);
                r2.push_back(two.wallRate);
                c2.push_back(two.cpuRate);
            }
            rate1[l] = median(r1);
            rate2[l] = median(r2);
            cpu1[l] = median(c1);
            cpu2[l] = median(c2);
        }
    }
    const Json loadAfter = loadAverage();

    // ---- table ---------------------------------------------------------------------------------
    auto rowName = [&](std::size_t m) { return msgs[m]->name; };
    for (int mode = 0; mode < MODE_COUNT; ++mode) {
        std::printf("\n%s: ns/message (MB/s); medians of %d repetitions, %s\n", kModeTitles[mode], opt.reps,
                    opt.wallClock ? "wall clock" : "thread CPU time");
        std::printf("%-22s %6s", "message", "bytes");
        for (std::size_t l = 0; l < L; ++l) std::printf(" %18s", libs[l]->name());
        std::printf("  %s\n", ktIndex >= 0 && L > 1 ? "fastest peer/ktsip" : "");
        auto cell = [&](double ns, double bytes, bool ok) {
            char b[64];
            std::snprintf(b, sizeof b, "%.0f (%.0f)%s", ns, mbps(bytes, ns), ok ? "" : "!");
            std::printf(" %18s", b);
        };
        for (std::size_t m = 0; m < M; ++m) {
            if (m == T) {
                std::printf("%-22s %6zu", "typical corpus (mean)", corpus.typicalBytes());
                for (std::size_t l = 0; l < L; ++l)
                    cell(corpusNs[l * MODE_COUNT + mode] / T, static_cast<double>(corpus.typicalBytes()) / T,
                         allAccepted(l, true, 0));
                const Fastest f = fastest(mode, true, 0);
                if (!f.name.empty()) std::printf("  %.2f (%s)", f.ratio, f.name.c_str());
                std::printf("\n");
            }
            std::printf("%-22s %6zu", rowName(m).c_str(), msgs[m]->text.size());
            for (std::size_t l = 0; l < L; ++l)
                cell(med[at(l, mode, m)], static_cast<double>(msgs[m]->text.size()), accepted[l][m]);
            const Fastest f = fastest(mode, false, m);
            if (!f.name.empty()) std::printf("  %.2f (%s)", f.ratio, f.name.c_str());
            std::printf("\n");
        }
    }
    std::printf("(! = refused by that library; its time is that of the refusal)\n");

    std::printf("\nheap allocations per parsed message (after warm-up%s)", heapActive ? "" : "; COUNTER INACTIVE");
    if (ktIndex >= 0) std::printf("; ktsip pool allocations and pool refills from malloc");
    std::printf("\n%-22s", "message");
    for (std::size_t l = 0; l < L; ++l) std::printf(" %10s", libs[l]->name());
    if (ktIndex >= 0) std::printf(" %10s %10s", "kt-pool", "kt-refill");
    std::printf("\n");
    for (std::size_t m = 0; m < M; ++m) {
        std::printf("%-22s", rowName(m).c_str());
        for (std::size_t l = 0; l < L; ++l) std::printf(" %10.1f", allocs[l * M + m].heapAllocs);
        if (ktIndex >= 0)
            std::printf(" %10.1f %10.2f", allocs[ktIndex * M + m].poolAllocs, allocs[ktIndex * M + m].poolSystemAllocs);
        std::printf("\n");
    }

    if (opt.threads) {
        std::printf("\nthreads: typical corpus, messages/s (median of %d runs of %.2f s)\n", opt.threadRounds,
                    opt.threadSeconds);
        std::printf("%-12s %12s %12s %8s   %s\n", "library", "1 thread", "2 threads", "2T/1T",
                    "per CPU-second: 1 thread, 2 threads, ratio");
        for (std::size_t l = 0; l < L; ++l)
            std::printf("%-12s %12.0f %12.0f %8.2f   %12.0f %12.0f %6.2f\n", libs[l]->name(), rate1[l], rate2[l],
                        rate1[l] > 0 ? rate2[l] / rate1[l] : 0.0, cpu1[l], cpu2[l],
                        cpu1[l] > 0 ? cpu2[l] / cpu1[l] : 0.0);
        std::printf("(2T/1T is the wall-clock scaling; the per-CPU-second ratio stays near 1 when the\n"
                    " threads do not slow each other down, whatever the load of the machine)\n");
    }

    // ---- JSON ------------------------------------------------------------------------------------
    Json doc;
    doc["schema"] = "ktsip-bench-compare/1";
    doc["date"] = nowIso();
    utsname u{};
    uname(&u);
    doc["host"] = {{"cpu", cpuModel()},
                   {"online_cpus", sysconf(_SC_NPROCESSORS_ONLN)},
                   {"kernel", std::string(u.sysname) + " " + u.release},
                   {"load_average_before", loadBefore},
                   {"load_average_after", loadAfter}};
    doc["build"] = {{"compiler", __VERSION__}, {"flags", KTSIP_BENCH_BUILD_FLAGS}};
    doc["settings"] = {{"reps", opt.reps},
                       {"batch_ms", opt.batchMs},
                       {"clock", opt.wallClock ? "wall" : "thread_cpu"},
                       {"thread_seconds", opt.threads ? opt.threadSeconds : 0.0},
                       {"thread_rounds", opt.threads ? opt.threadRounds : 0},
                       {"heap_counter_active", heapActive}};
    Json jl = Json::array();
    for (std::size_t l = 0; l < L; ++l) jl.push_back({{"name", libs[l]->name()}, {"version", libs[l]->version()}});
    doc["libraries"] = jl;

    auto fastestJson = [&](bool typical, std::size_t m) {
        Json f = Json::object();
        for (int mode = 0; mode < MODE_COUNT; ++mode) {
            const Fastest x = fastest(mode, typical, m);
            if (x.name.empty()) {
                f[kModeNames[mode]] = nullptr;
            } else {
                f[kModeNames[mode]] = {{"library", x.name}, {"ratio", x.ratio}};
            }
        }
        return f;
    };
    auto num = [](double v) { return std::isfinite(v) ? Json(v) : Json(); };
    Json jm = Json::array();
    for (std::size_t m = 0; m < M; ++m) {
        Json res = Json::object();
        for (std::size_t l = 0; l < L; ++l) {
            const Allocs& a = allocs[l * M + m];
            const double bytes = static_cast<double>(msgs[m]->text.size());
            Json r = {{"accepted", bool(accepted[l][m])}};
            if (!accepted[l][m]) r["refusal"] = refusal[l][m];
            r["parse_ns"] = num(med[at(l, PARSE, m)]);
            r["parse_mbps"] = mbps(bytes, med[at(l, PARSE, m)]);
            r["parse_serialize_ns"] = num(med[at(l, PARSE_SERIALIZE, m)]);
            r["parse_serialize_mbps"] = mbps(bytes, med[at(l, PARSE_SERIALIZE, m)]);
            r["serialized_bytes"] = outBytes[l][m];
            r["heap_allocs_per_parse"] = a.heapAllocs;
            r["heap_frees_per_parse"] = a.heapFrees;
            r["heap_allocs_per_parse_serialize"] = a.heapAllocsSer;
            if (static_cast<int>(l) == ktIndex) {
                r["pool_allocs_per_parse"] = a.poolAllocs;
                r["pool_system_allocs_per_parse"] = a.poolSystemAllocs;
            }
            res[libs[l]->name()] = r;
        }
        jm.push_back({{"name", msgs[m]->name},
                      {"set", m < T ? "typical" : "large"},
                      {"bytes", msgs[m]->text.size()},
                      {"results", res},
                      {"fastest_peer", fastestJson(false, m)}});
    }
    doc["messages"] = jm;

    Json jc = Json::object();
    for (std::size_t l = 0; l < L; ++l) {
        double ha = 0, pa = 0, ps = 0;
        for (std::size_t m = 0; m < T; ++m) {
            ha += allocs[l * M + m].heapAllocs;
            pa += allocs[l * M + m].poolAllocs;
            ps += allocs[l * M + m].poolSystemAllocs;
        }
        const double bytes = static_cast<double>(corpus.typicalBytes());
        Json r = {{"accepted_all", allAccepted(l, true, 0)},
                  {"parse_ns_per_message", num(corpusNs[l * MODE_COUNT + PARSE] / T)},
                  {"parse_mbps", mbps(bytes, corpusNs[l * MODE_COUNT + PARSE])},
                  {"parse_serialize_ns_per_message", num(corpusNs[l * MODE_COUNT + PARSE_SERIALIZE] / T)},
                  {"parse_serialize_mbps", mbps(bytes, corpusNs[l * MODE_COUNT + PARSE_SERIALIZE])},
                  {"heap_allocs_per_parse", ha / T}};
        if (static_cast<int>(l) == ktIndex) {
            r["pool_allocs_per_parse"] = pa / T;
            r["pool_system_allocs_per_parse"] = ps / T;
        }
        jc[libs[l]->name()] = r;
    }
    doc["corpus"] = {{"messages", T}, {"bytes", corpus.typicalBytes()}, {"results", jc},
                     {"fastest_peer", fastestJson(true, 0)}};

    if (opt.threads) {
        Json jt = Json::object();
        for (std::size_t l = 0; l < L; ++l)
            jt[libs[l]->name()] = {{"threads_1_msgs_per_s", rate1[l]},
                                   {"threads_2_msgs_per_s", rate2[l]},
                                   {"scaling", rate1[l] > 0 ? rate2[l] / rate1[l] : 0.0},
                                   {"threads_1_msgs_per_cpu_s", cpu1[l]},
                                   {"threads_2_msgs_per_cpu_s", cpu2[l]},
                                   {"cpu_scaling", cpu1[l] > 0 ? cpu2[l] / cpu1[l] : 0.0}};
        doc["threads"] = jt;
    } else {
        doc["threads"] = nullptr;
    }

    const Fastest sp = fastest(PARSE, true, 0);
    const Fastest ss = fastest(PARSE_SERIALIZE, true, 0);
    doc["speedup"] = {{"parse", num(sp.ratio)}, {"parse_serialize", num(ss.ratio)}};

    if (!opt.jsonPath.empty()) {
        std::ofstream out(opt.jsonPath);
        out << doc.dump(2) << "\n";
        if (!out) {
            std::fprintf(stderr, "ktsip_compare: cannot write %s\n", opt.jsonPath.c_str());
            return 1;
        }
        std::printf("\nresults written to %s\n", opt.jsonPath.c_str());
    }

    if (ktIndex >= 0 && !sp.name.empty()) {
        std::printf("ktsip speedup vs fastest peer: parse %.2f, parse+serialize %.2f\n", sp.ratio, ss.ratio);
    } else {
        std::printf("ktsip speedup vs fastest peer: parse n/a, parse+serialize n/a (%s)\n",
                    ktIndex < 0 ? "ktsip not run" : L < 2 ? "no peer run" : "no peer accepted the whole corpus");
    }
    return 0;
}
