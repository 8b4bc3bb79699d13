// The Unsupported header.
#include "KtSipUnsupportedHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipUnsupportedHeader")

KT_SIP_HEADER_REGISTER(KtSipUnsupportedHeader, "Unsupported")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipUnsupportedHeader, KtSipTokenHeader::sListSeparators(), false, nullptr, false)
