// ktsip derive: a response, ACK, PRACK, CANCEL or BYE built from a parsed message.
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "KtSipAckMessage.h"
#include "KtSipByeMessage.h"
#include "KtSipCancelMessage.h"
#include "KtSipInviteMessage.h"
#include "KtSipMessage.h"
#include "KtSipPrackMessage.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"

namespace {

/// The options and operands of `derive`. The options may also stand after KIND and CODE
/// (the usage line puts --body and --type there).
struct DeriveOptions {
    bool json = false;
    cli::InputOptions input;
    std::string body;
    CLI::Option* bodyOption = nullptr;
    std::string type;
    CLI::Option* typeOption = nullptr;
    std::vector<std::string> operands;

    bool hasBody() const { return bodyOption->count() != 0; }
    bool hasType() const { return typeOption->count() != 0; }
};

int runDerive(const DeriveOptions& a);

}  // namespace

cmd::Command cmd::addDerive(CLI::App& ktsip) {
    auto o = std::make_shared<DeriveOptions>();
    CLI::App* derive = ktsip.add_subcommand(
        "derive", "build a response, ACK, PRACK, CANCEL or BYE from a parsed message");
    addJsonFlag(*derive, o->json);
    o->input.declare(*derive);
    o->bodyOption = derive->add_option("--body", o->body, "the body of a response, ACK or PRACK")->type_name("TEXT");
    o->typeOption = derive->add_option("--type", o->type, "the body's media type")->type_name("MEDIA");
    derive->add_option("KIND [CODE] [FILE]", o->operands,
                       "KIND: response (with a CODE), ack, prack, cancel or bye; FILE: the message "
                       "(default or -: standard input)")
        ->type_name("")
        ->required();
    return {derive, [o] { return runDerive(*o); }};
}

namespace {

int runDerive(const DeriveOptions& a) {
    const std::vector<std::string>& operands = a.operands;
    const std::string kind = operands[0];
    std::size_t next = 1;
    int code = 0;
    if (kind == "response") {
        if (operands.size() < 2) throw cli::UsageError("derive response needs a CODE");
        // Range checks are the library's: 99 or 700 reach the constructor and fail there.
        code = static_cast<int>(cli::decimal(operands[1], "CODE", 0, 999999999));
        next = 2;
    } else if (kind != "ack" && kind != "prack" && kind != "cancel" && kind != "bye") {
        throw cli::UsageError("unknown KIND " + kind + " (response, ack, prack, cancel, bye)");
    }
    const bool takesBody = kind == "response" || kind == "ack" || kind == "prack";
    if (!takesBody && (a.hasBody() || a.hasType())) throw cli::UsageError("derive " + kind + " takes no body");
    if (operands.size() > next + 1) throw cli::UsageError("derive takes at most one FILE");
    cli::InputOptions input = a.input;
    if (operands.size() > next) input.file = operands[next];
    const std::string data = input.read();

    return cli::run(
        a.json,
        [&](cli::json& out, cli::ErrorCapture&) {
            KtByteArrayInputStream in(data.data(), static_cast<unsigned>(data.size()));
            const KtHandle<KtSipMessage> source = KtSipMessage::sConstructFrom(in);
            // Without --body the body arguments are null and 0; --type alone is ignored
            // by the constructors, as a length of 0 is.
            const void* body = a.hasBody() ? a.body.data() : nullptr;
            const char* type = a.hasType() ? a.type.c_str() : nullptr;
            const unsigned length = a.hasBody() ? static_cast<unsigned>(a.body.size()) : 0;
            // A source of the wrong kind reaches the constructor as a nil handle, which it
            // refuses with its own exception ("Handle to request is NIL", ...).
            const KtHandle<KtSipRequest> request = source.dynamicCast<KtSipRequest>();
            const KtHandle<KtSipResponse> response = source.dynamicCast<KtSipResponse>();
            KtHandle<KtSipMessage> built;
            if (kind == "response")
                built = new KtSipResponse(code, request, body, type, length);
            else if (kind == "ack")
                built = new KtSipAckMessage(response, body, type, length);
            else if (kind == "prack")
                built = new KtSipPrackMessage(response, body, type, length);
            else if (kind == "cancel")
                built = new KtSipCancelMessage(request);
            else if (!response.isNil())
                built = new KtSipByeMessage(response);
            else
                built = new KtSipByeMessage(source.dynamicCast<KtSipInviteMessage>());
            out = cmd::messageJson(*built);
            return 0;
        },
        &cmd::printMessage);
}

}  // namespace
