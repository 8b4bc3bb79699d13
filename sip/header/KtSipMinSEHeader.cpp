// The Min-SE header.
#include "KtSipMinSEHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipMinSEHeader")

KT_SIP_HEADER_REGISTER(KtSipMinSEHeader, "Min-SE")

KT_SIP_UNSIGNED_HEADER_SYNTAX(KtSipMinSEHeader, "Invalid Minimum SE header")
