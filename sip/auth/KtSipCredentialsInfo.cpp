// The abstract authentication credentials and the factory of credentials by scheme.
#include "KtSipCredentialsInfo.h"

#include <cstring>

#include "KtException.h"
#include "KtSipDigestCredentialsInfo.h"
#include "KtSipDigestPairReader.h"
#include "TorvaneLogger.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCredentialsInfo")

KtSipCredentialsInfo::~KtSipCredentialsInfo() = default;

KT_SIP_AUTH_INFO_FACTORY_DEFINE(KtSipCredentialsInfo, KtSipDigestCredentialsInfo, sm_Type, "credentials",
                                "Credentials type not supported !")
