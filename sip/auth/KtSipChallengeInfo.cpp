// The abstract authentication challenge and the factory of challenges by scheme.
#include "KtSipChallengeInfo.h"

#include <strings.h>

#include "KtException.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipChallengeInfo")

KtSipChallengeInfo::~KtSipChallengeInfo() = default;

KtHandle<KtSipChallengeInfo> KtSipChallengeInfo::constructFrom(const char* type, KtHandle<KtByteArray> text) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipChallengeInfo::constructFrom");
    if (type && strcasecmp(type, KtSipDigestChallengeInfo::TYPE.c_str()) == 0) {
        return KtSipDigestChallengeInfo::sCreateFrom(text);
    }
    TORVANE_DEBUG(fileLogger(), "challenge scheme \"" << (type ? type : "") << "\" refused");
    KtException::sThrow("Challenge type not supported !");
}

KtHandle<KtSipChallengeInfo> KtSipChallengeInfo::sConstructFromValue(const char* value) {
    KtString scheme;
    KtHandle<KtByteArray> list;
    KtSipDigestPairReader::sSplitScheme(value, scheme, list);
    return constructFrom(scheme.c_str(), list);
}
