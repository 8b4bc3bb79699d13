// The Proxy-Authenticate header.
#include "KtSipProxyAuthenticateHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipProxyAuthenticateHeader")

KT_SIP_HEADER_REGISTER(KtSipProxyAuthenticateHeader, "Proxy-Authenticate")

KT_SIP_HEADER_VALUE_CONSTRUCTORS(KtSipProxyAuthenticateHeader, KtSipChallengeInfo, m_value)
