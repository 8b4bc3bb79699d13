// The REFER request.
#ifndef KTSIP_KT_SIP_REFER_MESSAGE_H
#define KTSIP_KT_SIP_REFER_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A REFER request.
class KtSipReferMessage : public KtSipMethodMessage<KtSipReferMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipReferMessage)
};

#endif
