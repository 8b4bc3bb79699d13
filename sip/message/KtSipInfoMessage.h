// The INFO request.
#ifndef KTSIP_KT_SIP_INFO_MESSAGE_H
#define KTSIP_KT_SIP_INFO_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An INFO request.
class KtSipInfoMessage : public KtSipMethodMessage<KtSipInfoMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipInfoMessage)
};

#endif
