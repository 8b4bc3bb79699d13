// The From header.
#include "KtSipFromHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipFromHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipFromHeader, "From", "f")

KT_SIP_PARTY_HEADER_DEFINE(KtSipFromHeader, " ctor (", "Invalid From header")
