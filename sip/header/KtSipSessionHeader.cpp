// The Session header.
#include "KtSipSessionHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSessionHeader")

KT_SIP_HEADER_REGISTER(KtSipSessionHeader, "Session")

KT_SIP_KEYWORD_HEADER_SYNTAX(KtSipSessionHeader, "Invalid value in Session header", "Media", "QoS", "Security")
