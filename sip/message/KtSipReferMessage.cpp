// The REFER request.
#include "KtSipReferMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipReferMessage")

KT_SIP_METHOD_REGISTER(KtSipReferMessage, "REFER")

KtSipReferMessage::KtSipReferMessage() {}

KtSipReferMessage::KtSipReferMessage(const KtSipReferMessage& other) : KtSipMethodMessage<KtSipReferMessage>(other) {}

KtSipReferMessage::~KtSipReferMessage() {}
