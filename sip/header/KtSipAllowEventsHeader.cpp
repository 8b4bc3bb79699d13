// The Allow-Events header.
#include "KtSipAllowEventsHeader.h"

#include "KtSipLexer.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAllowEventsHeader")

KT_SIP_HEADER_REGISTER(KtSipAllowEventsHeader, "Allow-Events")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipAllowEventsHeader,
                           KtSipLexer::sTokenSeparators(), true, "Empty event-type in Allow-Events header", false)
