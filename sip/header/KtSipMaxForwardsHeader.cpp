// The Max-Forwards header.
#include "KtSipMaxForwardsHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipMaxForwardsHeader")

KT_SIP_HEADER_REGISTER(KtSipMaxForwardsHeader, "Max-Forwards")

KT_SIP_UNSIGNED_HEADER_SYNTAX(KtSipMaxForwardsHeader, "Invalid Max-Forwards header")
