// The BYE request.
#ifndef KTSIP_KT_SIP_BYE_MESSAGE_H
#define KTSIP_KT_SIP_BYE_MESSAGE_H

#include "KtSipInviteMessage.h"
#include "KtSipMethodMessage.h"
#include "KtSipResponse.h"

/// A BYE request.
class KtSipByeMessage : public KtSipMethodMessage<KtSipByeMessage> {
    KT_SIP_METHOD_MESSAGE_MEMBERS(KtSipByeMessage)
    /// A BYE sent by the side that sent the INVITE, from a response of the dialog: the
    /// request URI is the URI of the response's Contact, else of its To; clones of From, To
    /// (unchanged) and Call-ID; CSeq with the response's number plus one and method "BYE";
    /// Content-Length 0. A header the response lacks is left out of the BYE. Throws
    /// KtSipParseError "Handle to response is NIL" for a nil response.
    explicit KtSipByeMessage(KtHandle<KtSipResponse> response);
    /// A BYE sent by the side that received `invite`: the request URI is the URI of the
    /// INVITE's From; the new From is the INVITE's To address with the To tag, the new To
    /// the INVITE's From address with the From tag (no other parameter is kept; an empty
    /// tag is left out; an address with a tag gets its angle-bracket flag); the Call-ID;
    /// CSeq with the INVITE's number plus one and method "BYE"; Content-Length 0. A dialog
    /// layer that knows the remote target (the INVITE's Contact) should set it as request
    /// URI afterwards. Throws KtSipParseError "Handle to INVITE is NIL" for a nil INVITE.
    explicit KtSipByeMessage(KtHandle<KtSipInviteMessage> invite);
};

#endif
