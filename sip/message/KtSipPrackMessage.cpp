// The PRACK request.
#include "KtSipPrackMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipPrackMessage")

KT_SIP_METHOD_REGISTER(KtSipPrackMessage, "PRACK")

KtSipPrackMessage::KtSipPrackMessage() {}

KtSipPrackMessage::KtSipPrackMessage(const KtSipPrackMessage& other) : KtSipMethodMessage<KtSipPrackMessage>(other) {}

KtSipPrackMessage::~KtSipPrackMessage() {}
