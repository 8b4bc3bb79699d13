// The RSeq header.
#include "KtSipRSeqHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRSeqHeader")

KT_SIP_HEADER_REGISTER(KtSipRSeqHeader, "RSeq")

KT_SIP_UNSIGNED_HEADER_SYNTAX(KtSipRSeqHeader, "Invalid RSeq header")
