// Starting CSeq numbers.
#include "KtSipCSeq.h"

#include <atomic>
#include <cstdlib>

namespace {

// The seed of the starting numbers. It starts at 123 and is only ever advanced by rand_r,
// so every process draws the same series. It is shared without a lock: the load and the
// store are separate, so two threads drawing at once may both start from the same seed
// and get the same number (the atomic only keeps each access well defined).
std::atomic<unsigned int> sCSeqSeed(123u);

}  // namespace

KtSipCSeq::KtSipCSeq() {
    unsigned int seed = sCSeqSeed.load(std::memory_order_relaxed);
    const int drawn = rand_r(&seed);
    sCSeqSeed.store(seed, std::memory_order_relaxed);
    m_Value = static_cast<unsigned int>(drawn) % MODULUS;
}
