// The BYE request.
#include "KtSipByeMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipByeMessage")

KT_SIP_METHOD_REGISTER(KtSipByeMessage, "BYE")

KtSipByeMessage::KtSipByeMessage() {}

KtSipByeMessage::KtSipByeMessage(KtHandle<KtSipResponse> response) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipByeMessage ctor (1)");
    if (response.isNil()) KtSipParseError::sThrow("Handle to response is NIL");
    // The remote target when the response names one, else the To URI.
    KtHandle<KtURI> target = sAddressURI(*response, HeaderContact);
    if (target.isNil()) target = sAddressURI(*response, HeaderTo);
    if (!target.isNil()) setURI(target);
    addCopyOf(*response, HeaderFrom);
    addCopyOf(*response, HeaderTo);
    addCopyOf(*response, HeaderCallId);
    // A response without CSeq gives a BYE without one (as invalid as its source).
    const KtHandle<KtSipCSeqHeader> cseq = sCSeqOf(*response);
    if (!cseq.isNil()) addCSeq(cseq->getNumber() + 1);
    addBody(nullptr, nullptr, 0);
}

KtSipByeMessage::KtSipByeMessage(KtHandle<KtSipInviteMessage> invite) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipByeMessage ctor (2)");
    if (invite.isNil()) KtSipParseError::sThrow("Handle to INVITE is NIL");
    const KtHandle<KtSipFromHeader> inviteFrom = invite->cloneFirstHeader(HeaderFrom).dynamicCast<KtSipFromHeader>();
    const KtHandle<KtSipToHeader> inviteTo = invite->cloneFirstHeader(HeaderTo).dynamicCast<KtSipToHeader>();
    if (!inviteFrom.isNil()) setURI(inviteFrom->getNameAddress()->getURI());
    // The side that received the INVITE sends this BYE: its From is the INVITE's To and
    // its To the INVITE's From, each address with no parameter but the other side's tag.
    KtHandle<KtSipFromHeader> from;
    if (!inviteTo.isNil()) {
        from = new KtSipFromHeader(inviteTo->getNameAddress(), KtHandle<KtParameters>());
        const KtString tag = inviteTo->getTag();
        if (!tag.empty()) {
            from->setTag(tag.c_str());
            from->getNameAddress()->setAngleBrackets(true);
        }
    }
    KtHandle<KtSipToHeader> to;
    if (!inviteFrom.isNil()) {
        to = new KtSipToHeader(inviteFrom->getNameAddress(), KtHandle<KtParameters>());
        const KtString tag = inviteFrom->getTag();
        if (!tag.empty()) {
            to->setTag(tag.c_str());
            to->getNameAddress()->setAngleBrackets(true);
        }
    }
    addHeader(from, false);
    addHeader(to, false);
    addCopyOf(*invite, HeaderCallId);
    const KtHandle<KtSipCSeqHeader> cseq = sCSeqOf(*invite);
    if (!cseq.isNil()) addCSeq(cseq->getNumber() + 1);
    addBody(nullptr, nullptr, 0);
}

KtSipByeMessage::KtSipByeMessage(const KtSipByeMessage& other) : KtSipMethodMessage<KtSipByeMessage>(other) {}

KtSipByeMessage::~KtSipByeMessage() {}
