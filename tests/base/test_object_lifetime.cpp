// Reference counting: the last handle deletes, immortal constants are never deleted or
// written, and copy-on-write never changes a shared constant.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "KtParameters.h"
#include "KtString.h"
#include "TorvaneMemAllocator.h"

namespace {
long long liveStrings() { return Torvane::MemPool::sStatsFor("KtString").liveObjects; }
}  // namespace

TEST(KtObjectLifetime, LastHandleDeletesAndImmortalsStay) {
    const long long before = liveStrings();
    {
        KtString a("counted");
        KtString b = a;
        EXPECT_EQ(2, a->getRefCount());
    }
    EXPECT_EQ(before, liveStrings());

    // Held by a static, as the library's own constants are (never freed, by design).
    static const KtString constant = KtString::sStatic("immortal");
    const long long withConstant = liveStrings();
    {
        KtString copy = constant;
        copy.append("-changed");  // copy on write: the constant keeps its text
        EXPECT_STREQ("immortal-changed", copy.c_str());
        constant->AddRef();
        constant->Release();
        constant->Release();  // more releases than references: still alive
    }
    EXPECT_STREQ("immortal", constant.c_str());
    EXPECT_EQ(withConstant, liveStrings());
}

// Threads taking and dropping references to one constant and to private strings: nothing
// is freed early (the sanitizer and thread-sanitizer builds run this too).
TEST(KtObjectLifetime, SharedConstantAcrossThreads) {
    static const KtString constant = KtString::sStatic("shared");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 20000; ++i) {
                KtString copy = constant;
                KtString own(copy.c_str(), copy.length());
                ASSERT_EQ(own, copy);
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_STREQ("shared", constant.c_str());
}

// A lazily made member is made once however many threads ask first: every thread gets the
// same object, and the objects of the threads that lost the race are freed.
TEST(KtObjectLifetime, LazyHandleIsMadeOnceUnderRace) {
    const auto liveLists = [] { return Torvane::MemPool::sStatsFor("KtParameters").liveObjects; };
    const long long before = liveLists();
    for (int round = 0; round < 200; ++round) {
        KtLazyParameters lazy;
        ASSERT_EQ(nullptr, lazy.peek());
        KtParameters* seen[4] = {};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) threads.emplace_back([&lazy, &seen, t] { seen[t] = lazy.get().get(); });
        for (std::thread& t : threads) t.join();
        ASSERT_NE(nullptr, seen[0]);
        for (KtParameters* p : seen) ASSERT_EQ(seen[0], p);
        ASSERT_EQ(seen[0], lazy.peek());
        ASSERT_EQ(before + 1, liveLists());
    }
    EXPECT_EQ(before, liveLists());
}
