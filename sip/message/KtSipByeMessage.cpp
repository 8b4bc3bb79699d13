// The BYE request.
#include "KtSipByeMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipByeMessage")

KT_SIP_METHOD_REGISTER(KtSipByeMessage, "BYE")

KtSipByeMessage::KtSipByeMessage() {}

KtSipByeMessage::KtSipByeMessage(const KtSipByeMessage& other) : KtSipMethodMessage<KtSipByeMessage>(other) {}

KtSipByeMessage::~KtSipByeMessage() {}
