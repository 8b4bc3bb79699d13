// The PRACK request.
#include "KtSipPrackMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipPrackMessage")

KT_SIP_METHOD_REGISTER(KtSipPrackMessage, "PRACK")

KT_SIP_ACKNOWLEDGEMENT_DEFINE(KtSipPrackMessage, "The SIP PRACK Request is only for INVITE Response", 1)
