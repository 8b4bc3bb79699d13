// The WWW-Authenticate header.
#include "KtSipWWWAuthenticateHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipWWWAuthenticateHeader")

KT_SIP_HEADER_REGISTER(KtSipWWWAuthenticateHeader, "WWW-Authenticate")

KT_SIP_HEADER_VALUE_CONSTRUCTORS(KtSipWWWAuthenticateHeader, KtSipChallengeInfo, m_value)
