// The REGISTER request.
#ifndef KTSIP_KT_SIP_REGISTER_MESSAGE_H
#define KTSIP_KT_SIP_REGISTER_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A REGISTER request.
class KtSipRegisterMessage : public KtSipMethodMessage<KtSipRegisterMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipRegisterMessage)
};

#endif
