// The Event header.
#include "KtSipEventHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipEventHeader")

KT_SIP_HEADER_REGISTER(KtSipEventHeader, "Event")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipEventHeader,
                           KtSipLexer::sTokenSeparators(), true, "Empty value in Event header", true)
