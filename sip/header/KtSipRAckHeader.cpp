// The RAck header.
#include "KtSipRAckHeader.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipRAckHeader")

KT_SIP_HEADER_REGISTER(KtSipRAckHeader, "RAck")

KT_SIP_SEQUENCE_HEADER_SYNTAX(KtSipRAckHeader, 2, "Invalid RAck header")
