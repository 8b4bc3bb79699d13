// ktsip uri and ktsip address: URIs and name-addresses.
#include <iostream>
#include <memory>

#include "Commands.h"
#include "KtParameters.h"
#include "KtSipNameAddress.h"
#include "KtSipURL.h"
#include "KtTelURL.h"
#include "KtURI.h"

namespace {

cli::json pairs(const KtHandle<KtParameters>& list) {
    cli::json out = cli::json::array();
    if (list.isNil()) return out;
    for (unsigned i = 0; i < list->size(); ++i) {
        KtString n = list->getName(i), v = list->getValueAt(i);
        out.push_back({cli::latin1(n.c_str(), n.length()), cli::latin1(v.c_str(), v.length())});
    }
    return out;
}

std::string text(const KtString& s) { return cli::latin1(s.c_str(), s.length()); }

}  // namespace

cmd::Command cmd::addUri(CLI::App& ktsip) {
    CLI::App* uri = nullptr;
    auto o = addTextCommand(ktsip, uri, "uri", "parse a URI (sip:, tel: or any other scheme)", "TEXT", "the URI");
    auto bracket = std::make_shared<bool>(false);
    uri->add_flag("--bracket", *bracket, "read it as the URI inside angle brackets");
    return {uri, [o, bracket] {
                const std::string& input = o->text;
                return cli::run(
                    o->json,
                    [&](cli::json& out, cli::ErrorCapture&) {
                        KtByteArrayInputStream in(input.data(), static_cast<unsigned>(input.size()));
                        KtHandle<KtURI> uri = KtURI::sConstructFrom(in, *bracket);
                        if (uri.isNil()) KtException::sThrow("no URI read");
                        out["ok"] = true;
                        out["class"] = cli::className(typeid(*uri));
                        out["scheme"] = text(uri->getScheme());
                        out["string"] = text(uri->getString());
                        out["inBracket"] = uri->isInBracket();
                        if (auto* sip = dynamic_cast<KtSipURL*>(uri.get())) {
                            out["user"] = text(sip->getUser());
                            out["password"] = text(sip->getPassword());
                            out["host"] = text(sip->getHost());
                            out["port"] = sip->getPort();
                            out["portGiven"] = sip->isPortGiven();
                            out["parameters"] = pairs(sip->getParameters());
                            out["headers"] = pairs(sip->getHeaders());
                            out["transport"] = sip->getTransportParam() == KtSipURL::TCP ? "TCP" : "UDP";
                        } else if (auto* tel = dynamic_cast<KtTelURL*>(uri.get())) {
                            out["number"] = text(tel->getNumber());
                            out["global"] = tel->isGlobal();
                            out["parameters"] = pairs(tel->getParameters());
                        } else {
                            out["schemeData"] = text(uri->getSchemeData());
                        }
                        return 0;
                    },
                    [](const cli::json& out) { cli::printReadable(out, {"ok", "log"}); });
            }};
}

cmd::Command cmd::addAddress(CLI::App& ktsip) {
    CLI::App* address = nullptr;
    auto o = addTextCommand(ktsip, address, "address", "parse a name-address", "TEXT", "the name-address");
    return {address, [o] {
                const std::string& input = o->text;
                return cli::run(
                    o->json,
                    [&](cli::json& out, cli::ErrorCapture&) {
                        KtHandle<KtSipNameAddress> na(new KtSipNameAddress());
                        KtByteArrayInputStream in(input.data(), static_cast<unsigned>(input.size()));
                        na->parse(in);
                        KtByteArrayOutputStream written;
                        written << na;
                        out["ok"] = true;
                        out["displayName"] = text(na->getDisplayName());
                        const KtHandle<KtURI>& uri = na->getURI();
                        out["uri"] = uri.isNil() ? std::string() : text(uri->getString());
                        out["uriClass"] = uri.isNil() ? std::string() : cli::className(typeid(*uri));
                        out["angleBrackets"] = na->getAngleBrackets();
                        out["text"] = cli::latin1(written.data(), written.size());
                        return 0;
                    },
                    [](const cli::json& out) { cli::printReadable(out, {"ok", "log"}); });
            }};
}
