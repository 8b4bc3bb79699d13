// The SUBSCRIBE request.
#include "KtSipSubscribeMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSubscribeMessage")

KT_SIP_METHOD_REGISTER(KtSipSubscribeMessage, "SUBSCRIBE")
