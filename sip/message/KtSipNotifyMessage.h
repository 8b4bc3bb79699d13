// The NOTIFY request.
#ifndef KTSIP_KT_SIP_NOTIFY_MESSAGE_H
#define KTSIP_KT_SIP_NOTIFY_MESSAGE_H

#include "KtSipMethodMessage.h"

/// A NOTIFY request.
class KtSipNotifyMessage : public KtSipMethodMessage<KtSipNotifyMessage> {
public:
    /// "NOTIFY".
    static const KtString sMethodName;

    /// An empty NOTIFY request (the form the message factory creates).
    KtSipNotifyMessage();
    /// The request-building forms of KtSipRequest (From, To, Contact, Call-ID, CSeq, body).
    using KtSipMethodMessage<KtSipNotifyMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest).
    KtSipNotifyMessage(const KtSipNotifyMessage& other);
    ~KtSipNotifyMessage() override;
};

#endif
