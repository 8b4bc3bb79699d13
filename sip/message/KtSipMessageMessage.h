// The MESSAGE request.
#ifndef KTSIP_KT_SIP_MESSAGE_MESSAGE_H
#define KTSIP_KT_SIP_MESSAGE_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A MESSAGE request.
class KtSipMessageMessage : public KtSipMethodMessage<KtSipMessageMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipMessageMessage)
};

#endif
