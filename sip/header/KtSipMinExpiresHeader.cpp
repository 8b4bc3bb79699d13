// The Min-Expires header.
#include "KtSipMinExpiresHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipMinExpiresHeader")

KT_SIP_HEADER_REGISTER(KtSipMinExpiresHeader, "Min-Expires")

// Min-Expires reports its failures with the Min-SE text on purpose.
KT_SIP_UNSIGNED_HEADER_SYNTAX(KtSipMinExpiresHeader, "Invalid Minimum SE header")
