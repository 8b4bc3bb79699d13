// The REFER request.
#include "KtSipReferMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipReferMessage")

KT_SIP_METHOD_REGISTER(KtSipReferMessage, "REFER")
