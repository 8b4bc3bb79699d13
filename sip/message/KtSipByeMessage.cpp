// The BYE request.
#include "KtSipByeMessage.h"

TORVANE_FILE_LOGGER("calvoran.kt.KtSipByeMessage")

KT_SIP_METHOD_REGISTER(KtSipByeMessage, "BYE")

namespace {
// A From or To header (class Party) holding the address of `source` with no parameter but
// its tag; an address with a tag gets its angle-bracket flag. Nil for a nil source.
template <class Party, class Source>
KtHandle<Party> partyFrom(const KtHandle<Source>& source) {
    if (source.isNil()) return KtHandle<Party>();
    KtHandle<Party> party = new Party(source->getNameAddress(), KtHandle<KtParameters>());
    const KtString tag = source->getTag();
    if (!tag.empty()) {
        party->setTag(tag.c_str());
        party->getNameAddress()->setAngleBrackets(true);
    }
    return party;
}
}  // namespace

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
    addNextCSeq(*response, 1);
    addBody(nullptr, nullptr, 0);
}

KtSipByeMessage::KtSipByeMessage(KtHandle<KtSipInviteMessage> invite) {
    TORVANE_TRACE_SCOPE(fileLogger(), "KtSipByeMessage ctor (2)");
    if (invite.isNil()) KtSipParseError::sThrow("Handle to INVITE is NIL");
    const KtHandle<KtSipFromHeader> inviteFrom = invite->cloneFirstHeader(HeaderFrom).dynamicCast<KtSipFromHeader>();
    const KtHandle<KtSipToHeader> inviteTo = invite->cloneFirstHeader(HeaderTo).dynamicCast<KtSipToHeader>();
    if (!inviteFrom.isNil()) setURI(inviteFrom->getNameAddress()->getURI());
    // The side that received the INVITE sends this BYE: its From is the INVITE's To and
    // its To the INVITE's From.
    addHeader(partyFrom<KtSipFromHeader>(inviteTo), false);
    addHeader(partyFrom<KtSipToHeader>(inviteFrom), false);
    addCopyOf(*invite, HeaderCallId);
    addNextCSeq(*invite, 1);
    addBody(nullptr, nullptr, 0);
}
