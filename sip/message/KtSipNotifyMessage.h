// The NOTIFY request.
#ifndef KTSIP_KT_SIP_NOTIFY_MESSAGE_H
#define KTSIP_KT_SIP_NOTIFY_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A NOTIFY request.
class KtSipNotifyMessage : public KtSipMethodMessage<KtSipNotifyMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipNotifyMessage)
};

#endif
