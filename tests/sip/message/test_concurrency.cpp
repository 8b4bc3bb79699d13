// Messages used from several threads at once: independent messages parsed, serialized,
// cloned and keyed in parallel, and one message shared by threads that add, remove, look
// up and serialize its headers under its mutex while others read its headers' parameter
// lists. Run under ThreadSanitizer by scripts/ci-tsan.sh; in the normal suite it checks
// that every thread sees consistent results.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "HeaderTestSupport.h"
#include "KtSipContactHeader.h"
#include "KtSipViaHeader.h"
#include "MessageTestSupport.h"

namespace {

/// Each worker stops after its rounds or at this deadline, whichever comes first, so the
/// test stays short on a loaded machine and under ThreadSanitizer.
const std::chrono::milliseconds kDeadline(1500);
const int kRounds = 400;

using namespace kttest;

/// Messages of several classes and shapes (chains, folding, bodies, an invalid one).
std::vector<std::string> sampleMessages() {
    return {
        crlf("INVITE sip:bob@b.example SIP/2.0\nVia: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\n"
             "Via: SIP/2.0/TCP p.example;branch=z9hG4bKp, SIP/2.0/UDP q.example;received=10.0.0.1\n"
             "From: \"Alice\" <sip:alice@a.example:5070>;tag=88\nTo: <sip:bob@b.example>\nCall-ID: c1@a.example\n"
             "CSeq: 4 INVITE\nContact: <sip:alice@10.0.0.5;transport=tcp>;expires=60\nSupported: 100rel, timer\n"
             "Content-Type: application/sdp\nContent-Length: 13\n\nv=0\r\no=- 1 1\r\n"),
        crlf("SIP/2.0 180 Ringing\nVia: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\n"
             "From: <sip:alice@a.example>;tag=88\nTo: <sip:bob@b.example>;tag=99\nCall-ID: c2\nCSeq: 4 INVITE\n"
             "RSeq: 7\nRequire: 100rel\nContent-Length: 0\n\n"),
        crlf("REGISTER sip:registrar.example SIP/2.0\nVia: SIP/2.0/UDP h.example;branch=z9hG4bKr\n"
             "From: <sip:u@registrar.example>;tag=1\nTo: <sip:u@registrar.example>\nCall-ID: reg\nCSeq: 2 REGISTER\n"
             "Contact: <sip:u@h.example>;q=0.7, <sip:u@g.example>;q=0.3\nExpires: 3600\nSubject: folded\n  line\n"
             "WWW-Authenticate: Digest realm=\"r\", nonce=\"n\", qop=\"auth\"\nContent-Length: 0\n\n"),
        crlf("OPTIONS sip:x@y SIP/2.0\nVia: SIP/2.0/UDP y\nFrom: <sip:a@y>;tag=t\nTo: <sip:x@y>\nCall-ID: o\n"
             "CSeq: 9 OPTIONS\nX-Unknown: a, b, c\nAccept: text/plain\nContent-Type: application/sdp\n\nbody-without-length"),
    };
}

/// What a single thread computes for one message: its status, its output, its key (or the
/// key's exception), the output of a clone and the output of the output parsed again.
enum { kStatus, kText, kKey, kClone, kReparsed };
std::vector<std::string> process(const std::string& input) {
    KtHandle<KtSipMessage> message = parse(input);
    std::string key;
    const std::string error = thrown([&] { key = message->createKey().c_str(); });
    const std::string text = wire(*message);
    return {std::to_string(message->getStatus()), text, error.empty() ? key : "exception: " + error,
            wire(*KtHandle<KtSipMessage>(message->clone())), wire(*parse(text))};
}

/// Runs `work(thread, round)` on `threads` threads for at most kRounds rounds each.
void runThreads(int threads, const std::function<void(int, int)>& work) {
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t)
        pool.emplace_back([&, t] {
            for (int round = 0; round < kRounds && std::chrono::steady_clock::now() < deadline; ++round) work(t, round);
        });
    for (std::thread& thread : pool) thread.join();
}

TEST(Concurrency, IndependentMessagesGiveTheSameResultsOnEveryThread) {
    QuietErrors quiet;
    const std::vector<std::string> inputs = sampleMessages();
    std::vector<std::vector<std::string>> expected;
    for (const std::string& input : inputs) expected.push_back(process(input));
    // The samples exercise what they should: a valid message round-trips through its clone.
    EXPECT_EQ(expected[0][kText], expected[0][kClone]);
    EXPECT_EQ(expected[0][kText], expected[0][kReparsed]);
    EXPECT_EQ("2", expected[3][kStatus]);  // Content-Type outside Accept

    std::atomic<int> mismatches(0), done(0);
    runThreads(4, [&](int thread, int round) {
        const size_t which = static_cast<size_t>(thread + round) % inputs.size();
        if (process(inputs[which]) != expected[which]) ++mismatches;
        ++done;
    });
    EXPECT_EQ(0, mismatches.load());
    EXPECT_GT(done.load(), 4);
}

TEST(Concurrency, SharedMessageUnderItsMutex) {
    QuietErrors quiet;
    KtHandle<KtSipMessage> shared = parse(sampleMessages()[0]);
    ASSERT_TRUE(shared->isValid());
    const std::string key = shared->createKey().c_str();
    const std::string via = wire(*shared).substr(0, wire(*shared).find("Via: SIP/2.0/TCP"));

    // Contact's parameter list is written by one thread and read by the others (its own
    // mutex); Via's is only read.
    KtHandle<KtSipViaHeader> topVia = shared->mGetHeader("Via").dynamicCast<KtSipViaHeader>();
    KtHandle<KtSipContactHeader> contact = shared->mGetHeader("Contact").dynamicCast<KtSipContactHeader>();
    ASSERT_FALSE(topVia.isNil());
    ASSERT_FALSE(contact.isNil());

    std::atomic<int> added(0), removed(0), failures(0);
    runThreads(6, [&](int thread, int round) {
        switch (thread) {
            case 0:  // adds Allow-Events headers, which nothing else carries
            case 1:
                shared->addHeader(kttest::parseHeaderLine("Allow-Events: ev" + std::to_string(thread) + "-" +
                                                             std::to_string(round)),
                                  (round & 1) != 0);
                ++added;
                break;
            case 2:  // removes them again, one per call, and looks them up
                if (shared->removeHeader("Allow-Events")) ++removed;
                if (!shared->mGetHeader("Allow-Events").isNil() && shared->mGetHeader("allow-events").isNil())
                    ++failures;  // names match without case
                break;
            case 3: {  // serializes: the fixed part must always be there, and the text parses
                const std::string text = wire(*shared);
                if (text.compare(0, via.size(), via) != 0) ++failures;
                KtHandle<KtSipMessage> copy = parse(text);
                if (!copy->isValid() || copy->createKey().c_str() != key) ++failures;
                break;
            }
            case 4: {  // clones and keys
                KtHandle<KtSipMessage> copy(shared->clone());
                if (copy->createKey().c_str() != key || shared->createKey().c_str() != key) ++failures;
                if (shared->mGetHeader("To").isNil() || shared->mGetHeader("Call-ID").isNil()) ++failures;
                break;
            }
            default: {  // the parameter lists: one writer, reads of both lists
                contact->getParameters()->setValue("x-round", std::to_string(round).c_str());
                if (topVia->getBranch().compareWith("z9hG4bK1") != 0) ++failures;
                if (topVia->getParameters()->getString().isNil()) ++failures;
                if (contact->getParameters()->getValue("expires").compareWith("60") != 0) ++failures;
                break;
            }
        }
    });
    EXPECT_EQ(0, failures.load());

    // Every header added and not removed is still in the message, in one chain.
    int left = 0;
    for (KtHandle<KtSipHeader> h = shared->mGetHeader("Allow-Events"); !h.isNil(); h = h->getNext()) ++left;
    EXPECT_EQ(added.load() - removed.load(), left);
    EXPECT_EQ(key, shared->createKey().c_str());
}

}  // namespace
