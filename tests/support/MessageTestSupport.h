// Helpers of the message tests: wire text, parsing, capture of the error stream.
#ifndef KTSIP_TESTS_MESSAGE_TEST_SUPPORT_H
#define KTSIP_TESTS_MESSAGE_TEST_SUPPORT_H

#include <string>
#include <typeinfo>
#include <vector>

#include "KtErrorStream.h"
#include "KtSipAckMessage.h"
#include "KtSipByeMessage.h"
#include "KtSipCancelMessage.h"
#include "KtSipInfoMessage.h"
#include "KtSipInviteMessage.h"
#include "KtSipMessage.h"
#include "KtSipMessageMessage.h"
#include "KtSipNotifyMessage.h"
#include "KtSipOptionsMessage.h"
#include "KtSipPrackMessage.h"
#include "KtSipReferMessage.h"
#include "KtSipRegisterMessage.h"
#include "KtSipResponse.h"
#include "KtSipSubscribeMessage.h"
#include "KtSipUnknownRequest.h"
#include "TestSupport.h"

namespace kttest {

/// `text` with every LF turned into CR LF.
inline std::string crlf(const std::string& text) {
    std::string out;
    for (char c : text) out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

/// Parses `wire` as one datagram.
inline KtHandle<KtSipMessage> parse(const std::string& wire) {
    KtByteArrayInputStream in = kttest::streamOf(wire);
    return KtSipMessage::sConstructFrom(in);
}

/// Parses `rest` (the text after the first token) into `message`, which stays inspectable
/// when parsing throws.
inline void parseInto(KtSipMessage& message, const char* token, const std::string& rest) {
    KtByteArrayInputStream in = kttest::streamOf(rest);
    message.parse(token, in);
}

/// The wire form of `message`, or of its start line alone.
inline std::string wire(const KtSipMessage& message, bool startLineOnly = false) {
    KtByteArrayOutputStream out(512);
    if (startLineOnly)
        message.serializeStartLine(out);
    else
        message.serialize(out);
    return std::string(out.data(), out.size());
}

template <class T>
KtSipMessage* make() {
    return new T();
}

/// The class that sConstructFrom picks for each registered first token ("SIP": a response);
/// any other token makes a KtSipUnknownRequest.
struct MessageClass { const char* token; const std::type_info& type; KtSipMessage* (*create)(); };
inline const MessageClass kMessageClasses[] = {
    {"ACK", typeid(KtSipAckMessage), &make<KtSipAckMessage>}, {"BYE", typeid(KtSipByeMessage), &make<KtSipByeMessage>},
    {"CANCEL", typeid(KtSipCancelMessage), &make<KtSipCancelMessage>},
    {"INFO", typeid(KtSipInfoMessage), &make<KtSipInfoMessage>},
    {"INVITE", typeid(KtSipInviteMessage), &make<KtSipInviteMessage>},
    {"MESSAGE", typeid(KtSipMessageMessage), &make<KtSipMessageMessage>},
    {"NOTIFY", typeid(KtSipNotifyMessage), &make<KtSipNotifyMessage>},
    {"OPTIONS", typeid(KtSipOptionsMessage), &make<KtSipOptionsMessage>},
    {"PRACK", typeid(KtSipPrackMessage), &make<KtSipPrackMessage>},
    {"REFER", typeid(KtSipReferMessage), &make<KtSipReferMessage>},
    {"REGISTER", typeid(KtSipRegisterMessage), &make<KtSipRegisterMessage>},
    {"SUBSCRIBE", typeid(KtSipSubscribeMessage), &make<KtSipSubscribeMessage>},
    {"SIP", typeid(KtSipResponse), &make<KtSipResponse>},
};

/// The headers of a valid INVITE from alice to bob (no Content-Length, no blank line).
inline std::string inviteHeaders() {
    return "Via: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\nFrom: <sip:alice@a.example:5070>;tag=88\n"
           "To: <sip:bob@b.example>\nCall-ID: c1\nCSeq: 4 INVITE\n";
}

}  // namespace kttest

#endif
