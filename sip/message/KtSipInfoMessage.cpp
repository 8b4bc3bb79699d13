// The INFO request.
#include "KtSipInfoMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipInfoMessage")

KT_SIP_METHOD_REGISTER(KtSipInfoMessage, "INFO")
