// The INVITE request.
#include "KtSipInviteMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipInviteMessage")

KT_SIP_METHOD_REGISTER(KtSipInviteMessage, "INVITE")

KtSipInviteMessage::KtSipInviteMessage() : m_UseLocalOutboundProxy(false) {}

KtSipInviteMessage::KtSipInviteMessage(const KtSipInviteMessage& other)
    : KtSipMethodMessage<KtSipInviteMessage>(other), m_UseLocalOutboundProxy(other.m_UseLocalOutboundProxy) {}

KtSipInviteMessage::~KtSipInviteMessage() {}
