// The Alert-Info header.
#include "KtSipAlertInfoHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAlertInfoHeader")

KT_SIP_HEADER_REGISTER(KtSipAlertInfoHeader, "Alert-Info")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipAlertInfoHeader)
