// The To header.
#include "KtSipToHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipToHeader")

KT_SIP_HEADER_REGISTER_COMPACT(KtSipToHeader, "To", "t")
const KtString KtSipToHeader::sTagToken(KtString::sStatic("tag"));

KT_SIP_PARTY_HEADER_DEFINE(KtSipToHeader, " ctor(", "Invalid To header")
