// The REGISTER request.
#include "KtSipRegisterMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRegisterMessage")

KT_SIP_METHOD_REGISTER(KtSipRegisterMessage, "REGISTER")
