// Reference counting: the last handle deletes, immortal constants are never deleted or
// written, and copy-on-write never changes a shared constant.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

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
