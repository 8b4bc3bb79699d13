// The SUBSCRIBE request.
#ifndef KTSIP_KT_SIP_SUBSCRIBE_MESSAGE_H
#define KTSIP_KT_SIP_SUBSCRIBE_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A SUBSCRIBE request.
class KtSipSubscribeMessage : public KtSipMethodMessage<KtSipSubscribeMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipSubscribeMessage)
};

#endif
