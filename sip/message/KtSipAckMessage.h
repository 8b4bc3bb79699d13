// The ACK request.
#ifndef KTSIP_KT_SIP_ACK_MESSAGE_H
#define KTSIP_KT_SIP_ACK_MESSAGE_H

#include "KtSipMethodMessage.h"

/// An ACK request. Built for a final response to an INVITE, it holds clones of the
/// response's From and To (To with the response's tag) and Call-ID, and CSeq with the
/// response's number and method "ACK". The request URI is the URI of the response's Contact
/// for a 2xx with a Contact, else the URI of its To. Throws KtSipParseError "Handle to
/// response is NIL" for a nil response and "The SIP ACK Request is only for INVITE
/// Response" unless the CSeq method is exactly "INVITE". No Via is added (the transport
/// adds it); a header the response lacks is left out of the ACK.
class KtSipAckMessage : public KtSipMethodMessage<KtSipAckMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipAckMessage)
    KT_SIP_ACKNOWLEDGEMENT_CONSTRUCTOR(KtSipAckMessage)
};

#endif
