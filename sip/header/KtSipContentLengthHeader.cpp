// The Content-Length header.
#include "KtSipContentLengthHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipContentLengthHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipContentLengthHeader, "Content-Length", "l")

KT_SIP_UNSIGNED_HEADER_SYNTAX(KtSipContentLengthHeader, "Invalid Content-Length header")
