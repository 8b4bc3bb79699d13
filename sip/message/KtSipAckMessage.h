// The ACK request.
#ifndef KTSIP_KT_SIP_ACK_MESSAGE_H
#define KTSIP_KT_SIP_ACK_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An ACK request.
class KtSipAckMessage : public KtSipMethodMessage<KtSipAckMessage> {
public:
    /// "ACK".
    static const KtString sMethodName;

    /// An empty ACK request (the form the message factory creates).
    KtSipAckMessage();
    // The constructor of an ACK from the response to an INVITE belongs here.

    /// A deep copy (see KtSipRequest).
    KtSipAckMessage(const KtSipAckMessage& other);
    ~KtSipAckMessage() override;
};

#endif
