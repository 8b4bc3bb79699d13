// The MESSAGE request.
#include "KtSipMessageMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipMessageMessage")

KT_SIP_METHOD_REGISTER(KtSipMessageMessage, "MESSAGE")
