// The abstract authentication challenge and the factory of challenges by scheme.
#include "KtSipChallengeInfo.h"

#include <cstring>

#include "KtException.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipChallengeInfo")

KtSipChallengeInfo::~KtSipChallengeInfo() = default;

KT_SIP_AUTH_INFO_FACTORY_DEFINE(KtSipChallengeInfo, KtSipDigestChallengeInfo, TYPE, "challenge",
                                "Challenge type not supported !")
