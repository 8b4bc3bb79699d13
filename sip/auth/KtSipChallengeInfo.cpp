// The abstract authentication challenge and the factory of challenges by scheme.
#include "KtSipChallengeInfo.h"

#include <cstring>

#include "KtException.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipChallengeInfo")

KtSipChallengeInfo::~KtSipChallengeInfo() = default;

KtHandle<KtSipChallengeInfo> KtSipChallengeInfo::constructFrom(const char* type, KtHandle<KtByteArray> text) {
    const unsigned typeLength = type ? static_cast<unsigned>(std::strlen(type)) : 0;
    return text.isNil() ? constructFrom(type, typeLength, nullptr, 0)
                        : constructFrom(type, typeLength, text->chars(), text->getLength());
}

KtHandle<KtSipChallengeInfo> KtSipChallengeInfo::constructFrom(const char* type, unsigned typeLength,
                                                               const char* text, unsigned length) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipChallengeInfo::constructFrom");
    if (KtSipDigestPairReader::sIsScheme(type, typeLength, KtSipDigestChallengeInfo::TYPE)) {
        return KtSipDigestChallengeInfo::sCreateFrom(text, length);
    }
    TORVANE_DEBUG(fileLogger(),
                  "challenge scheme \"" << KtString(type ? type : "", type ? typeLength : 0) << "\" refused");
    KtException::sThrow("Challenge type not supported !");
}

KtHandle<KtSipChallengeInfo> KtSipChallengeInfo::sConstructFromValue(const char* value) {
    const KtSipDigestPairReader::SchemeSplit split =
        KtSipDigestPairReader::sSplitScheme(value, value ? static_cast<unsigned>(std::strlen(value)) : 0);
    return constructFrom(split.scheme, split.schemeLength, split.list, split.listLength);
}
