// ktsip parse: one received message, end to end.
#include <iostream>
#include <memory>

#include "Commands.h"
#include "KtSipMessage.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "KtURI.h"

cli::json cmd::messageJson(const KtSipMessage& m) {
    cli::json out;
    out["ok"] = true;
    out["class"] = cli::className(typeid(m));
    out["request"] = m.isRequest();
    const auto* request = dynamic_cast<const KtSipRequest*>(&m);
    const auto* response = dynamic_cast<const KtSipResponse*>(&m);
    if (request) {
        const KtString& method = request->getMethod();
        out["method"] = cli::latin1(method.c_str(), method.length());
        KtString uri = request->getURI().isNil() ? KtString("") : request->getURI()->getString();
        out["uri"] = cli::latin1(uri.c_str(), uri.length());
    } else {
        out["method"] = nullptr;
        out["uri"] = nullptr;
    }
    if (response) {
        out["code"] = response->getStatusCode();
        const KtString& reason = response->getReasonPhrase();
        out["reason"] = cli::latin1(reason.c_str(), reason.length());
    } else {
        out["code"] = nullptr;
        out["reason"] = nullptr;
    }
    out["version"] = {m.getMajorVersion(), m.getMinorVersion()};
    out["status"] = m.getStatus();
    out["valid"] = m.isValid();
    try {
        KtString key = m.createKey();
        out["key"] = cli::latin1(key.c_str(), key.length());
        out["key_error"] = nullptr;
    } catch (const KtException& e) {
        out["key"] = nullptr;
        out["key_error"] = cli::latin1(e.getMessage());
    }
    // The headers serialize() writes: the kinds in header order, each chain in chain order.
    cli::json headers = cli::json::array();
    for (HeaderID id : m.getHeaderOrder()) {
        KtHandle<KtSipHeader> h = m.mGetHeaderByID(id);
        for (const auto& one : cli::chainJson(h.get())) headers.push_back(one);
    }
    out["headers"] = headers;
    out["body_length"] = m.getBodyLength();
    out["body"] = m.getBody() ? cli::latin1(m.getBody(), m.getBodySize()) : std::string();
    KtByteArrayOutputStream text;
    m.serialize(text);
    out["text"] = cli::latin1(text.data(), text.size());
    return out;
}

void cmd::printMessage(const cli::json& out) {
    cli::json summary;
    for (const char* k : {"class", "method", "uri", "code", "reason", "version", "status", "valid", "key",
                          "key_error", "body_length"})
        if (out.contains(k) && !out[k].is_null()) summary[k] = out[k];
    cli::printReadable(summary);
    for (const auto& l : out["log"]) std::cout << "log: " << l.get<std::string>() << "\n";
    std::cout << "\n" << out["text"].get<std::string>();
}

cmd::Command cmd::addParse(CLI::App& ktsip) {
    struct Options {
        bool json = false;
        cli::InputOptions input;
    };
    auto o = std::make_shared<Options>();
    CLI::App* parse = ktsip.add_subcommand("parse", "parse one message (the whole input, as one datagram)");
    addJsonFlag(*parse, o->json);
    o->input.declare(*parse);
    parse->add_option("FILE", o->input.file, "the message (default or -: standard input)");
    return {parse, [o] {
                const std::string data = o->input.read();
                return cli::run(
                    o->json,
                    [&](cli::json& out, cli::ErrorCapture&) {
                        KtByteArrayInputStream in(data.data(), static_cast<unsigned>(data.size()));
                        KtHandle<KtSipMessage> m = KtSipMessage::sConstructFrom(in);
                        out = messageJson(*m);
                        return 0;
                    },
                    &cmd::printMessage);
            }};
}
