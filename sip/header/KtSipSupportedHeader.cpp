// The Supported header.
#include "KtSipSupportedHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSupportedHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipSupportedHeader, "Supported", "k")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipSupportedHeader, KtSipTokenHeader::sListSeparators(), false, nullptr, false)
