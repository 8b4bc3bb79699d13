// The Error-Info header.
#include "KtSipErrorInfoHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipErrorInfoHeader")

KT_SIP_HEADER_REGISTER(KtSipErrorInfoHeader, "Error-Info")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipErrorInfoHeader)
