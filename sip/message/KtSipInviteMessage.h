// The INVITE request.
#ifndef KTSIP_KT_SIP_INVITE_MESSAGE_H
#define KTSIP_KT_SIP_INVITE_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An INVITE request, with a flag that sends it through the local outbound proxy.
class KtSipInviteMessage : public KtSipMethodMessage<KtSipInviteMessage> {
public:
    /// "INVITE".
    static const KtString sMethodName;

    /// An empty INVITE request (the form the message factory creates); the outbound-proxy
    /// flag is false.
    KtSipInviteMessage();
    /// The request-building constructors of KtSipRequest with method "INVITE"; the
    /// outbound-proxy flag is false.
    using KtSipMethodMessage<KtSipInviteMessage>::KtSipMethodMessage;
    /// A deep copy (see KtSipRequest); the outbound-proxy flag is copied.
    KtSipInviteMessage(const KtSipInviteMessage& other);
    ~KtSipInviteMessage() override;

    /// The outbound-proxy flag.
    bool useLocalOutboundProxy() const override { return m_UseLocalOutboundProxy; }
    /// Sets the outbound-proxy flag.
    void setUseLocalOutboundProxy(bool use) { m_UseLocalOutboundProxy = use; }

private:
    bool m_UseLocalOutboundProxy = false;
};

#endif
