// ktsip parse: one received message, end to end.
#include <iostream>
#include <memory>

#include "Commands.h"
#include "JsonWriter.h"
#include "KtSipMessage.h"
#include "KtSipRequest.h"
#include "KtSipResponse.h"
#include "KtURI.h"

void cmd::writeMessage(JsonWriter& out, const KtSipMessage& m) {
    out.key("ok").value(true);
    out.key("class").value(cli::className(typeid(m)));
    out.key("request").value(m.isRequest());
    const auto* request = dynamic_cast<const KtSipRequest*>(&m);
    const auto* response = dynamic_cast<const KtSipResponse*>(&m);
    if (request) {
        const KtString& method = request->getMethod();
        out.key("method").value(method.c_str(), method.length());
        const KtString uri = request->getURI().isNil() ? KtString("") : request->getURI()->getString();
        out.key("uri").value(uri.c_str(), uri.length());
    } else {
        out.key("method").null().key("uri").null();
    }
    if (response) {
        const KtString& reason = response->getReasonPhrase();
        out.key("code").value(response->getStatusCode()).key("reason").value(reason.c_str(), reason.length());
    } else {
        out.key("code").null().key("reason").null();
    }
    out.key("version").beginArray().value(m.getMajorVersion()).value(m.getMinorVersion()).endArray();
    out.key("status").value(m.getStatus());
    out.key("valid").value(m.isValid());
    try {
        const KtString key = m.createKey();
        out.key("key").value(key.c_str(), key.length()).key("key_error").null();
    } catch (const KtException& e) {
        out.key("key").null().key("key_error").value(e.getMessage());
    }
    // The headers serialize() writes: the kinds in header order, each chain in chain order.
    out.key("headers").beginArray();
    for (HeaderID id : m.getHeaderOrder()) {
        const KtHandle<KtSipHeader> first = m.mGetHeaderByID(id);
        for (const KtSipHeader* h = first.get(); h != nullptr; h = h->getNext().get()) cli::writeHeader(out, *h);
    }
    out.endArray();
    out.key("body_length").value(m.getBodyLength());
    out.key("body").value(m.getBody() ? static_cast<const char*>(m.getBody()) : "", m.getBody() ? m.getBodySize() : 0);
    KtByteArrayOutputStream text;
    m.serialize(text);
    out.key("text").value(text.data(), text.size());
}

cli::json cmd::messageJson(const KtSipMessage& m) {
    std::string text;
    {
        JsonWriter out(text);
        out.beginObject();
        writeMessage(out, m);
        out.endObject();
    }
    return cli::json::parse(text);
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
