// The Referred-By header.
#include "KtSipReferredByHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipReferredByHeader")

KT_SIP_HEADER_REGISTER(KtSipReferredByHeader, "Referred-By")

KT_SIP_ADDRESS_HEADER_DEFINE(KtSipReferredByHeader, " ctor (", (void)0)
