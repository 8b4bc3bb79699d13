// The CSeq header.
#include "KtSipCSeqHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCSeqHeader")

KT_SIP_HEADER_REGISTER(KtSipCSeqHeader, "CSeq")

KT_SIP_SEQUENCE_HEADER_SYNTAX(KtSipCSeqHeader, 1, "Invalid CSeq header")
