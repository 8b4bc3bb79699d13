// The OPTIONS request.
#ifndef KTSIP_KT_SIP_OPTIONS_MESSAGE_H
#define KTSIP_KT_SIP_OPTIONS_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An OPTIONS request.
class KtSipOptionsMessage : public KtSipMethodMessage<KtSipOptionsMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipOptionsMessage)
};

#endif
