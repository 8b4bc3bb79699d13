// Google Benchmark suite of ktsip alone: message parsing (with the transaction key, with
// serialization), cloning, a 200 response built from a parsed INVITE, the Digest response,
// single header lines per family, the URI scanner, and parsing on several threads.
//
// Every benchmark reports `heap_allocs` (heap calls per item, from the malloc replacement
// of HeapCounter.cpp); the message benchmarks also `pool_allocs` (allocations from
// ktsip's tagged pools per item) and bytes per second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "Corpus.h"
#include "HeapCounter.h"
#include "KtByteArray.h"
#include "KtException.h"
#include "KtHexEncoding.h"
#include "KtInputStream.h"
#include "KtOutputStream.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipHeader.h"
#include "KtSipMessage.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "KtURI.h"
#include "TorvaneMemAllocator.h"

using ktbench::Corpus;
using ktbench::CorpusMessage;

namespace {

const Corpus& corpus() {
    static const Corpus c = ktbench::loadCorpus(ktbench::defaultCorpusDir());
    return c;
}

unsigned long long poolAllocations() {
    unsigned long long n = 0;
    for (const Torvane::PoolStats& s : Torvane::MemPool::sStats()) n += s.allocations;
    return n;
}

// Heap and pool counters over the timed loop of one benchmark, reported per item.
class AllocProbe {
public:
    explicit AllocProbe(bool pools) : m_Pools(pools), m_Pool0(pools ? poolAllocations() : 0) {
        m_Heap0 = ktbench::heapCounts().allocs;
    }
    void report(benchmark::State& state, double itemsPerIteration) {
        const unsigned long long heap = ktbench::heapCounts().allocs - m_Heap0;
        const double items = static_cast<double>(state.iterations()) * itemsPerIteration;
        if (items <= 0) return;
        state.counters["heap_allocs"] = benchmark::Counter(static_cast<double>(heap) / items);
        if (m_Pools) {
            const unsigned long long pool = poolAllocations() - m_Pool0;
            state.counters["pool_allocs"] = benchmark::Counter(static_cast<double>(pool) / items);
        }
    }

private:
    bool m_Pools;
    unsigned long long m_Pool0;
    unsigned long long m_Heap0 = 0;
};

KtHandle<KtSipMessage> parse(const std::string& text) {
    KtByteArrayInputStream in(text.data(), static_cast<unsigned>(text.size()));
    return KtSipMessage::sConstructFrom(in);
}

// Parses every message once outside the timed loop; a refused message stops the benchmark.
bool checkParses(benchmark::State& state, const std::vector<const CorpusMessage*>& msgs) {
    for (const CorpusMessage* m : msgs) {
        try {
            KtHandle<KtSipMessage> msg = parse(m->text);
            if (!msg->isValid()) {
                const std::string why = m->name + ": parsed as invalid, status " + std::to_string(msg->getStatus());
                state.SkipWithError(why.c_str());
                return false;
            }
        } catch (const KtException& e) {
            state.SkipWithError((m->name + ": " + e.getMessage()).c_str());
            return false;
        }
    }
    return true;
}

std::vector<const CorpusMessage*> typicalSet() {
    std::vector<const CorpusMessage*> v;
    for (const CorpusMessage& m : corpus().typical) v.push_back(&m);
    return v;
}

std::size_t bytesOf(const std::vector<const CorpusMessage*>& msgs) {
    std::size_t n = 0;
    for (const CorpusMessage* m : msgs) n += m->text.size();
    return n;
}

// ---- messages -------------------------------------------------------------------------------

enum class Work { Parse, ParseKey, ParseSerialize };

void runMessages(benchmark::State& state, const std::vector<const CorpusMessage*>& msgs, Work work) {
    if (!checkParses(state, msgs)) return;
    KtByteArrayOutputStream out(8192);
    // Warm the pools and the output buffer before counting.
    for (const CorpusMessage* m : msgs) {
        KtHandle<KtSipMessage> msg = parse(m->text);
        out.clear();
        msg->serialize(out);
        benchmark::DoNotOptimize(msg->createKey());
    }
    AllocProbe probe(true);
    for (auto _ : state) {
        for (const CorpusMessage* m : msgs) {
            KtByteArrayInputStream in(m->text.data(), static_cast<unsigned>(m->text.size()));
            KtHandle<KtSipMessage> msg = KtSipMessage::sConstructFrom(in);
            if (work == Work::ParseKey) {
                KtString key = msg->createKey();
                benchmark::DoNotOptimize(key.c_str());
            } else if (work == Work::ParseSerialize) {
                out.clear();
                msg->serialize(out);
                benchmark::DoNotOptimize(out.data());
            }
            benchmark::DoNotOptimize(msg.get());
        }
    }
    probe.report(state, static_cast<double>(msgs.size()));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * msgs.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytesOf(msgs)));
}

void BM_ParseCorpus(benchmark::State& state) { runMessages(state, typicalSet(), Work::Parse); }
void BM_ParseCreateKeyCorpus(benchmark::State& state) { runMessages(state, typicalSet(), Work::ParseKey); }
void BM_ParseSerializeCorpus(benchmark::State& state) { runMessages(state, typicalSet(), Work::ParseSerialize); }
void BM_ParseLargeInvite(benchmark::State& state) { runMessages(state, {&corpus().large}, Work::Parse); }
void BM_ParseSerializeLargeInvite(benchmark::State& state) {
    runMessages(state, {&corpus().large}, Work::ParseSerialize);
}

void BM_CloneCorpus(benchmark::State& state) {
    const std::vector<const CorpusMessage*> msgs = typicalSet();
    if (!checkParses(state, msgs)) return;
    std::vector<KtHandle<KtSipMessage>> parsed;
    for (const CorpusMessage* m : msgs) parsed.push_back(parse(m->text));
    for (const KtHandle<KtSipMessage>& p : parsed) KtHandle<KtSipMessage> warm(p->clone());
    AllocProbe probe(true);
    for (auto _ : state) {
        for (const KtHandle<KtSipMessage>& p : parsed) {
            KtHandle<KtSipMessage> copy(p->clone());
            benchmark::DoNotOptimize(copy.get());
        }
    }
    probe.report(state, static_cast<double>(msgs.size()));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * msgs.size()));
}

// ---- a 200 response built from a parsed INVITE -----------------------------------------------

// The response constructor is called only when the library declares it; the test on the type
// keeps this file compiling against a library that does not have it yet.
template <class Response, class Request>
bool buildResponse(KtByteArrayOutputStream& out, const KtHandle<KtSipMessage>& invite, const std::string& sdp) {
    if constexpr (std::is_constructible<Response, int, KtHandle<Request>, const void*, const char*, unsigned>::value) {
        KtHandle<Request> request(static_cast<Request*>(invite.get()));
        KtHandle<Response> response(new Response(200, request, sdp.data(), "application/sdp",
                                                 static_cast<unsigned>(sdp.size())));
        out.clear();
        response->serialize(out);
        return true;
    } else {
        (void)out;
        (void)invite;
        (void)sdp;
        return false;
    }
}

void BM_Response200FromInvite(benchmark::State& state) {
    const CorpusMessage& inviteText = corpus().typical.front();
    const CorpusMessage* answer = nullptr;
    for (const CorpusMessage& m : corpus().typical)
        if (m.name.find("200-invite") != std::string::npos) answer = &m;
    if (!checkParses(state, {&inviteText})) return;
    KtHandle<KtSipMessage> invite = parse(inviteText.text);
    if (!invite->isRequest()) {
        state.SkipWithError((inviteText.name + " is not a request").c_str());
        return;
    }
    const std::string sdp = answer ? answer->text.substr(answer->text.find("\r\n\r\n") + 4) : std::string("v=0\r\n");
    KtByteArrayOutputStream out(8192);
    bool available = false;
    try {
        available = buildResponse<KtSipResponse, KtSipRequest>(out, invite, sdp);
    } catch (const KtException& e) {
        state.SkipWithError((std::string("response constructor: ") + e.getMessage()).c_str());
        return;
    }
    if (!available) {
        state.SkipWithError("KtSipResponse(int, KtHandle<KtSipRequest>, const void*, const char*, unsigned) "
                            "is not declared by this build of the library");
        return;
    }
    const std::string text(out.data(), out.size());
    if (text.compare(0, 12, "SIP/2.0 200 ") != 0 || text.size() < sdp.size() ||
        text.compare(text.size() - sdp.size(), sdp.size(), sdp) != 0) {
        state.SkipWithError("the response built from the INVITE is not a 200 ending with the SDP body");
        return;
    }
    AllocProbe probe(true);
    for (auto _ : state) {
        buildResponse<KtSipResponse, KtSipRequest>(out, invite, sdp);
        benchmark::DoNotOptimize(out.data());
    }
    probe.report(state, 1);
    state.SetItemsProcessed(state.iterations());
}

// ---- Digest ---------------------------------------------------------------------------------

// The challenge of the 401 and the answer of the REGISTER that follows it in the corpus
// (computed for the password below); the benchmark checks that ktsip computes the same.
const char* const kDigestPassword = "wonderland7";

std::string quotedParam(const std::string& list, const char* name) {
    const std::string key = std::string(name) + "=\"";
    const std::size_t p = list.find(key);
    if (p == std::string::npos) return std::string();
    const std::size_t v = p + key.size();
    return list.substr(v, list.find('"', v) - v);
}

void BM_DigestResponse(benchmark::State& state) {
    const CorpusMessage* challengeMsg = nullptr;
    const CorpusMessage* answerMsg = nullptr;
    for (const CorpusMessage& m : corpus().typical) {
        if (!ktbench::headerValue(m.text, "WWW-Authenticate").empty()) challengeMsg = &m;
        if (!ktbench::headerValue(m.text, "Authorization").empty()) answerMsg = &m;
    }
    if (!challengeMsg || !answerMsg) {
        state.SkipWithError("the corpus has no WWW-Authenticate / Authorization pair");
        return;
    }
    std::string challengeText = ktbench::headerValue(challengeMsg->text, "WWW-Authenticate");
    const std::string answer = ktbench::headerValue(answerMsg->text, "Authorization");
    challengeText = challengeText.substr(challengeText.find(' ') + 1);  // after "Digest"
    const std::string expected = quotedParam(answer, "response");
    const std::string uri = quotedParam(answer, "uri");
    const std::string cnonce = quotedParam(answer, "cnonce");
    const std::string method = answerMsg->text.substr(0, answerMsg->text.find(' '));
    const std::string username = quotedParam(answer, "username");

    KtHandle<KtSipDigestChallengeInfo> challenge;
    auto compute = [&]() {
        KtHandle<KtSipDigestCredentialsInfo> credentials(
            new KtSipDigestCredentialsInfo(challenge, username.c_str(), kDigestPassword));
        credentials->setMethod(method.c_str());
        credentials->setUri(uri.c_str());
        credentials->setQop("auth", cnonce.c_str(), 1);
        return KtHexEncoding::toHex(credentials->getRequestDigest());
    };
    try {
        challenge = KtSipDigestChallengeInfo::sCreateFrom(KtByteArray::sCreate(challengeText.c_str()));
        const KtString got = compute();
        if (expected != got.c_str()) {
            const std::string why = "computed response " + std::string(got.c_str()) + ", the corpus has " + expected;
            state.SkipWithError(why.c_str());
            return;
        }
    } catch (const KtException& e) {
        state.SkipWithError(e.getMessage());
        return;
    }
    AllocProbe probe(true);
    for (auto _ : state) {
        KtString hex = compute();
        benchmark::DoNotOptimize(hex.c_str());
    }
    probe.report(state, 1);
    state.SetItemsProcessed(state.iterations());
}

// ---- header lines and URIs ------------------------------------------------------------------

void runHeaderLine(benchmark::State& state, const char* name) {
    // The first line of that name in the corpus, with its line end.
    std::string line;
    for (const CorpusMessage& m : corpus().typical) {
        const std::string v = ktbench::headerValue(m.text, name);
        if (!v.empty()) {
            line = std::string(name) + ": " + v + "\r\n";
            break;
        }
    }
    if (line.empty()) {
        state.SkipWithError((std::string("no ") + name + " line in the corpus").c_str());
        return;
    }
    try {
        KtByteArrayInputStream in(line.data(), static_cast<unsigned>(line.size()));
        KtHandle<KtSipHeader> h = KtSipHeader::sConstructFrom(in);
        if (h.isNil()) throw std::runtime_error("no header");
    } catch (const std::exception& e) {
        state.SkipWithError((line + ": " + e.what()).c_str());
        return;
    }
    AllocProbe probe(true);
    for (auto _ : state) {
        KtByteArrayInputStream in(line.data(), static_cast<unsigned>(line.size()));
        KtHandle<KtSipHeader> h = KtSipHeader::sConstructFrom(in);
        benchmark::DoNotOptimize(h.get());
    }
    probe.report(state, 1);
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * line.size()));
    state.SetLabel(line.substr(0, line.size() - 2));
}

void BM_HeaderVia(benchmark::State& state) { runHeaderLine(state, "Via"); }
void BM_HeaderFrom(benchmark::State& state) { runHeaderLine(state, "From"); }
void BM_HeaderContact(benchmark::State& state) { runHeaderLine(state, "Contact"); }
void BM_HeaderCSeq(benchmark::State& state) { runHeaderLine(state, "CSeq"); }

const char* const kUris[] = {
    "sip:bob@biloxi.com",
    "sip:alice@192.0.2.101:5060;transport=udp;ob",
    "sip:hop7.transit7.example.net:5060;lr;ftag=1928301774;did=4b2.9a17",
    "tel:+1-201-555-0123;phone-context=example.com",
};

void BM_URI(benchmark::State& state) {
    const std::string uri = kUris[state.range(0)];
    try {
        KtByteArrayInputStream in(uri.data(), static_cast<unsigned>(uri.size()));
        KtHandle<KtURI> u = KtURI::sConstructFrom(in, false);
        if (u.isNil()) throw std::runtime_error("no URI");
    } catch (const std::exception& e) {
        state.SkipWithError((uri + ": " + e.what()).c_str());
        return;
    }
    AllocProbe probe(true);
    for (auto _ : state) {
        KtByteArrayInputStream in(uri.data(), static_cast<unsigned>(uri.size()));
        KtHandle<KtURI> u = KtURI::sConstructFrom(in, false);
        benchmark::DoNotOptimize(u.get());
    }
    probe.report(state, 1);
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(uri);
}

// ---- threads ----------------------------------------------------------------------------------

// Each thread parses its own copy of the typical corpus.
void BM_ParseThreads(benchmark::State& state) {
    std::vector<CorpusMessage> own = corpus().typical;
    std::vector<const CorpusMessage*> msgs;
    for (const CorpusMessage& m : own) msgs.push_back(&m);
    if (!checkParses(state, msgs)) return;
    for (auto _ : state) {
        for (const CorpusMessage& m : own) {
            KtByteArrayInputStream in(m.text.data(), static_cast<unsigned>(m.text.size()));
            KtHandle<KtSipMessage> msg = KtSipMessage::sConstructFrom(in);
            benchmark::DoNotOptimize(msg.get());
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * own.size()));
}

}  // namespace

BENCHMARK(BM_ParseCorpus);
BENCHMARK(BM_ParseCreateKeyCorpus);
BENCHMARK(BM_ParseSerializeCorpus);
BENCHMARK(BM_ParseLargeInvite);
BENCHMARK(BM_ParseSerializeLargeInvite);
BENCHMARK(BM_CloneCorpus);
BENCHMARK(BM_Response200FromInvite);
BENCHMARK(BM_DigestResponse);
BENCHMARK(BM_HeaderVia);
BENCHMARK(BM_HeaderFrom);
BENCHMARK(BM_HeaderContact);
BENCHMARK(BM_HeaderCSeq);
BENCHMARK(BM_URI)->DenseRange(0, static_cast<int>(sizeof kUris / sizeof kUris[0]) - 1);
BENCHMARK(BM_ParseThreads)->Threads(1)->Threads(2)->UseRealTime();

// One benchmark per message of the corpus, registered at start-up from the files.
int main(int argc, char** argv) {
    try {
        for (const CorpusMessage& m : corpus().typical) {
            const CorpusMessage* p = &m;
            benchmark::RegisterBenchmark(("BM_Parse/" + m.name).c_str(), [p](benchmark::State& s) {
                runMessages(s, {p}, Work::Parse);
            });
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ktsip_bench: %s\n", e.what());
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
