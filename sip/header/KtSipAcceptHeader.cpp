// The Accept header.
#include "KtSipAcceptHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAcceptHeader")

KT_SIP_HEADER_REGISTER(KtSipAcceptHeader, "Accept")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipAcceptHeader)
