// The ACK request.
#include "KtSipAckMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipAckMessage")

KT_SIP_METHOD_REGISTER(KtSipAckMessage, "ACK")

KtSipAckMessage::KtSipAckMessage() {}

KtSipAckMessage::KtSipAckMessage(const KtSipAckMessage& other) : KtSipMethodMessage<KtSipAckMessage>(other) {}

KtSipAckMessage::~KtSipAckMessage() {}
