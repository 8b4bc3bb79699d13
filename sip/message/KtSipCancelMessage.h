// The CANCEL request.
#ifndef KTSIP_KT_SIP_CANCEL_MESSAGE_H
#define KTSIP_KT_SIP_CANCEL_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A CANCEL request.
class KtSipCancelMessage : public KtSipMethodMessage<KtSipCancelMessage> {
public:
    /// "CANCEL".
    static const KtString sMethodName;

    /// An empty CANCEL request (the form the message factory creates).
    KtSipCancelMessage();
    // The constructor of a CANCEL from the request to cancel belongs here.

    /// A deep copy (see KtSipRequest).
    KtSipCancelMessage(const KtSipCancelMessage& other);
    ~KtSipCancelMessage() override;
};

#endif
