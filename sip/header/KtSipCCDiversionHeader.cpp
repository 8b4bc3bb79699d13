// The CC-Diversion header.
#include "KtSipCCDiversionHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCCDiversionHeader")

KT_SIP_HEADER_REGISTER(KtSipCCDiversionHeader, "CC-Diversion")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipCCDiversionHeader)
