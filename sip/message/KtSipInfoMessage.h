// The INFO request.
#ifndef KTSIP_KT_SIP_INFO_MESSAGE_H
#define KTSIP_KT_SIP_INFO_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An INFO request.
class KtSipInfoMessage : public KtSipMethodMessage<KtSipInfoMessage> {
public:
    /// "INFO".
    static const KtString sMethodName;

    /// An empty INFO request (the form the message factory creates).
    KtSipInfoMessage();
    /// A deep copy (see KtSipRequest).
    KtSipInfoMessage(const KtSipInfoMessage& other);
    ~KtSipInfoMessage() override;
};

#endif
