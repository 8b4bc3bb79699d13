// The shape shared by WWW-Authenticate and Proxy-Authenticate.
#include "KtSipAuthenticateHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAuthenticateHeader")

KT_SIP_AUTH_VALUE_SCOPES(KtSipAuthenticateHeader)
