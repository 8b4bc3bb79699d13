// The Priority header.
#include "KtSipPriorityHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipPriorityHeader")

KT_SIP_HEADER_REGISTER(KtSipPriorityHeader, "Priority")

KT_SIP_KEYWORD_HEADER_SYNTAX(KtSipPriorityHeader, "Invalid Priority header",
                             "normal", "emergency", "urgent", "non-urgent")
