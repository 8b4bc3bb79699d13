// The Authorization header.
#include "KtSipAuthorizationHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAuthorizationHeader")

KT_SIP_HEADER_REGISTER(KtSipAuthorizationHeader, "Authorization")

KT_SIP_HEADER_VALUE_CONSTRUCTORS(KtSipAuthorizationHeader, KtSipCredentialsInfo, m_value)

KT_SIP_AUTH_VALUE_SCOPES(KtSipAuthorizationHeader)
