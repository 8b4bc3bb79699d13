// ktsip derive: a response, ACK, PRACK, CANCEL or BYE built from a parsed message.
#include <cerrno>
#include <cstdlib>
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

/// The words of `derive`: flags and valued options may stand anywhere before "--"
/// (the usage line puts --body and --type after KIND and CODE); the rest are operands.
struct DeriveArgs {
    bool json = false;
    bool crlf = false;
    bool hasBody = false;
    std::string body;
    bool hasType = false;
    std::string type;
    std::vector<std::string> operands;

    explicit DeriveArgs(const std::vector<std::string>& args) {
        bool optionsDone = false;
        for (std::size_t i = 0; i < args.size(); ++i) {
            const std::string& a = args[i];
            if (optionsDone || a.size() < 2 || a[0] != '-') {
                operands.push_back(a);
            } else if (a == "--") {
                optionsDone = true;
            } else if (a == "--json") {
                json = true;
            } else if (a == "--crlf") {
                crlf = true;
            } else if (a == "--body" || a == "--type") {
                if (i + 1 >= args.size()) throw cli::UsageError("option " + a + " needs a value");
                (a == "--body" ? body : type) = args[++i];
                (a == "--body" ? hasBody : hasType) = true;
            } else {
                throw cli::UsageError("unknown option " + a);
            }
        }
    }
};

/// A response code operand: a decimal number that fits an int (range checks are the
/// library's: 99 or 700 reach the constructor and fail there).
int parseCode(const std::string& text) {
    if (text.empty() || text.size() > 9) throw cli::UsageError("CODE must be a number: " + text);
    for (char c : text)
        if (c < '0' || c > '9') throw cli::UsageError("CODE must be a number: " + text);
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

}  // namespace

int cmd::derive(const std::vector<std::string>& args) {
    DeriveArgs a(args);
    if (a.operands.empty()) throw cli::UsageError("derive needs a KIND (response, ack, prack, cancel, bye)");
    const std::string kind = a.operands[0];
    std::size_t next = 1;
    int code = 0;
    if (kind == "response") {
        if (a.operands.size() < 2) throw cli::UsageError("derive response needs a CODE");
        code = parseCode(a.operands[1]);
        next = 2;
    } else if (kind != "ack" && kind != "prack" && kind != "cancel" && kind != "bye") {
        throw cli::UsageError("unknown KIND " + kind + " (response, ack, prack, cancel, bye)");
    }
    const bool takesBody = kind == "response" || kind == "ack" || kind == "prack";
    if (!takesBody && (a.hasBody || a.hasType)) throw cli::UsageError("derive " + kind + " takes no body");
    if (a.operands.size() > next + 1) throw cli::UsageError("derive takes at most one FILE");
    const std::string file = a.operands.size() > next ? a.operands[next] : "-";
    const std::string data = cli::readInput(file, a.crlf);

    return cli::run(
        a.json,
        [&](cli::json& out, cli::ErrorCapture&) {
            KtByteArrayInputStream in(data.data(), static_cast<unsigned>(data.size()));
            const KtHandle<KtSipMessage> source = KtSipMessage::sConstructFrom(in);
            // Without --body the body arguments are null and 0; --type alone is ignored
            // by the constructors, as a length of 0 is.
            const void* body = a.hasBody ? a.body.data() : nullptr;
            const char* type = a.hasType ? a.type.c_str() : nullptr;
            const unsigned length = a.hasBody ? static_cast<unsigned>(a.body.size()) : 0;
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
            out = messageJson(*built);
            return 0;
        },
        &cmd::printMessage);
}
