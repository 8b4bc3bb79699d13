// Generated From/To tag values.
#include "KtSipTag.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "KtDate.h"
#include "KtException.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipTag")

namespace {

// The seed of the random parts. It starts at 1 and is only ever advanced by rand_r, so
// every process draws the same series. Shared without a lock, as the CSeq seed is.
std::atomic<unsigned int> sTagSeed(1u);

// Size of the formatting buffer: a prefix of MAX_PREFIX_LENGTH bytes, two hyphens, two
// numbers of at most 8 hex digits and the NUL fit.
const unsigned TAG_BUFFER_SIZE = 152;
static_assert(KtSipTag::MAX_PREFIX_LENGTH + 2 + 8 + 8 + 1 <= TAG_BUFFER_SIZE, "tag buffer too small");

}  // namespace

KtSipTag::KtSipTag(const char* prefix) { reGenerate(prefix); }

KtSipTag* KtSipTag::clone() const { return new KtSipTag(*this); }

void KtSipTag::reGenerate(const char* prefix) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipTag::reGenerate");
    if (prefix != nullptr && std::strlen(prefix) > MAX_PREFIX_LENGTH) KtException::sThrow("Tag prefix too long");
    unsigned int seed = sTagSeed.load(std::memory_order_relaxed);
    const unsigned int random = static_cast<unsigned int>(rand_r(&seed));
    sTagSeed.store(seed, std::memory_order_relaxed);
    const unsigned int time = KtTime::sGetCurrentTime().seconds;
    char text[TAG_BUFFER_SIZE];
    if (prefix != nullptr)
        std::snprintf(text, sizeof text, "%s-%x-%x", prefix, random, time);
    else
        std::snprintf(text, sizeof text, "%x-%x", random, time);
    // A fresh buffer: copies made earlier keep their value.
    m_Value = KtString(text);
}
