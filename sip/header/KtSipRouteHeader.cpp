// The Route header.
#include "KtSipRouteHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRouteHeader")

KT_SIP_HEADER_REGISTER(KtSipRouteHeader, "Route")

KT_SIP_NAME_ADDR_HEADER_DEFINE(KtSipRouteHeader)
