// The SUBSCRIBE request.
#include "KtSipSubscribeMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipSubscribeMessage")

KT_SIP_METHOD_REGISTER(KtSipSubscribeMessage, "SUBSCRIBE")

KtSipSubscribeMessage::KtSipSubscribeMessage() {}

KtSipSubscribeMessage::KtSipSubscribeMessage(const KtSipSubscribeMessage& other) : KtSipMethodMessage<KtSipSubscribeMessage>(other) {}

KtSipSubscribeMessage::~KtSipSubscribeMessage() {}
