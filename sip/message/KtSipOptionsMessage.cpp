// The OPTIONS request.
#include "KtSipOptionsMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipOptionsMessage")

KT_SIP_METHOD_REGISTER(KtSipOptionsMessage, "OPTIONS")
