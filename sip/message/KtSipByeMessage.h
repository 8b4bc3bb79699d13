// The BYE request.
#ifndef KTSIP_KT_SIP_BYE_MESSAGE_H
#define KTSIP_KT_SIP_BYE_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A BYE request.
class KtSipByeMessage : public KtSipMethodMessage<KtSipByeMessage> {
public:
    /// "BYE".
    static const KtString sMethodName;

    /// An empty BYE request (the form the message factory creates).
    KtSipByeMessage();
    // The constructors of a BYE from a response and from an INVITE belong here.

    /// A deep copy (see KtSipRequest).
    KtSipByeMessage(const KtSipByeMessage& other);
    ~KtSipByeMessage() override;
};

#endif
