// The NOTIFY request.
#include "KtSipNotifyMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipNotifyMessage")

KT_SIP_METHOD_REGISTER(KtSipNotifyMessage, "NOTIFY")
