// The Digest challenge.
#include "KtSipDigestChallengeInfo.h"

#include <strings.h>

#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipDigestChallengeInfo")

const KtString KtSipDigestChallengeInfo::TYPE(KtString::sStatic("Digest"));

KtSipDigestChallengeInfo::KtSipDigestChallengeInfo() : m_Params(new KtParameters(';')) {}

KtSipDigestChallengeInfo::KtSipDigestChallengeInfo(const char* realm) : m_Params(new KtParameters(';')) {
    m_Params->setValue("realm", realm ? realm : "");
}

KT_SIP_DIGEST_INFO_DEFINE(KtSipDigestChallengeInfo, KtSipChallengeInfo)

void KtSipDigestChallengeInfo::serialize(KtOutputStream& out) const {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipDigestChallengeInfo::serialize");
    const KtParameters::Reader pairs(*m_Params);
    const unsigned count = pairs.size();
    for (unsigned i = 0; i < count; ++i) {
        const char* const name = pairs.nameAt(i);
        if (i > 0) out << ',';
        pairs.writeNameAt(out, i);
        // These three are tokens, not quoted strings, in the Digest grammar.
        const bool token = strcasecmp(name, "algorithm") == 0 || strcasecmp(name, "stale") == 0 ||
                           strcasecmp(name, "uri") == 0;
        out << (token ? "=" : "=\"");
        pairs.writeValueAt(out, i);
        if (!token) out << '"';
    }
}

KtString KtSipDigestChallengeInfo::getType() const {
    return TYPE;
}

KtString KtSipDigestChallengeInfo::getRealm() const {
    return m_Params->getValue("realm");
}
