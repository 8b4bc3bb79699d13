// The Record-Route header.
#include "KtSipRecordRouteHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRecordRouteHeader")

KT_SIP_HEADER_REGISTER(KtSipRecordRouteHeader, "Record-Route")

KT_SIP_NAME_ADDR_HEADER_DEFINE(KtSipRecordRouteHeader)
