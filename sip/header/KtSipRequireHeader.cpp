// The Require header.
#include "KtSipRequireHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRequireHeader")

KT_SIP_HEADER_REGISTER(KtSipRequireHeader, "Require")

// Option tags end at a comma or white space; an empty tag is kept as it is.
KT_SIP_TOKEN_HEADER_SYNTAX(KtSipRequireHeader, KtSipLexer::sListSeparators(), false, nullptr, false)
