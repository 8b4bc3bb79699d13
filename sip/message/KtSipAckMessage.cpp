// The ACK request.
#include "KtSipAckMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAckMessage")

KT_SIP_METHOD_REGISTER(KtSipAckMessage, "ACK")

KT_SIP_ACKNOWLEDGEMENT_DEFINE(KtSipAckMessage, "The SIP ACK Request is only for INVITE Response", 0)
