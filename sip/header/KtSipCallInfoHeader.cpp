// The Call-Info header.
#include "KtSipCallInfoHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCallInfoHeader")

// Deliberately left out of the header registry: a received Call-Info line stays an
// unknown header.
KT_SIP_HEADER_UNREGISTERED(KtSipCallInfoHeader, "Call-Info")

KT_SIP_HEADER_TEXT_CONSTRUCTOR(KtSipCallInfoHeader)
