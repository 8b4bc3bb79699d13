// The PRACK request.
#ifndef KTSIP_KT_SIP_PRACK_MESSAGE_H
#define KTSIP_KT_SIP_PRACK_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A PRACK request.
class KtSipPrackMessage : public KtSipMethodMessage<KtSipPrackMessage> {
public:
    /// "PRACK".
    static const KtString sMethodName;

    /// An empty PRACK request (the form the message factory creates).
    KtSipPrackMessage();
    // The constructor of a PRACK from a reliable provisional response belongs here.

    /// A deep copy (see KtSipRequest).
    KtSipPrackMessage(const KtSipPrackMessage& other);
    ~KtSipPrackMessage() override;
};

#endif
