// The CANCEL request.
#include "KtSipCancelMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipCancelMessage")

KT_SIP_METHOD_REGISTER(KtSipCancelMessage, "CANCEL")

KtSipCancelMessage::KtSipCancelMessage() {}

KtSipCancelMessage::KtSipCancelMessage(const KtSipCancelMessage& other) : KtSipMethodMessage<KtSipCancelMessage>(other) {}

KtSipCancelMessage::~KtSipCancelMessage() {}
