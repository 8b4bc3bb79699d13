// The Supported header.
#include "KtSipSupportedHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSupportedHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipSupportedHeader, "Supported", "k")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipSupportedHeader, KtSipLexer::sListSeparators(), false, nullptr, false)
