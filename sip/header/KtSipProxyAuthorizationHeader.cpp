// The Proxy-Authorization header.
#include "KtSipProxyAuthorizationHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipProxyAuthorizationHeader")

KT_SIP_HEADER_REGISTER(KtSipProxyAuthorizationHeader, "Proxy-Authorization")

KT_SIP_HEADER_VALUE_CONSTRUCTORS(KtSipProxyAuthorizationHeader, KtSipCredentialsInfo, m_value)
