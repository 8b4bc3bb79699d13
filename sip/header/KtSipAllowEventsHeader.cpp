// The Allow-Events header.
#include "KtSipAllowEventsHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAllowEventsHeader")

KT_SIP_HEADER_REGISTER(KtSipAllowEventsHeader, "Allow-Events")

KT_SIP_TOKEN_HEADER_SYNTAX(KtSipAllowEventsHeader,
                           KtSipTokenHeader::sTokenSeparators(), true, "Empty event-type in Allow-Events header", false)
