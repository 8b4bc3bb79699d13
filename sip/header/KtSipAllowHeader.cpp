// The Allow header.
#include "KtSipAllowHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAllowHeader")

KT_SIP_HEADER_REGISTER(KtSipAllowHeader, "Allow")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipAllowHeader,
                           KtSipLexer::sTokenSeparators(), true, "Empty method in Allow header", false)
