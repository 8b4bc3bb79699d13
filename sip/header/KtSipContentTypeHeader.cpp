// The Content-Type header.
#include "KtSipContentTypeHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipContentTypeHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipContentTypeHeader, "Content-Type", "c")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipContentTypeHeader)
