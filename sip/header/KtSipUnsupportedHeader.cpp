// The Unsupported header.
#include "KtSipUnsupportedHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUnsupportedHeader")

KT_SIP_HEADER_REGISTER(KtSipUnsupportedHeader, "Unsupported")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipUnsupportedHeader, KtSipLexer::sListSeparators(), false, nullptr, false)
