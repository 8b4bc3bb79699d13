// ktsip header: one header line through the header registry.
#include <iostream>

#include "Commands.h"
#include "KtSipHeader.h"

int cmd::header(const std::vector<std::string>& args) {
    cli::Args a(args, {"--json"}, {});
    if (a.operands().size() != 1) throw cli::UsageError("header takes one LINE");
    std::string line = a.operands()[0] + "\r\n";
    return cli::run(
        a.has("--json"),
        [&](cli::json& out, cli::ErrorCapture&) {
            KtByteArrayInputStream in(line.data(), static_cast<unsigned>(line.size()));
            KtHandle<KtSipHeader> h = KtSipHeader::sConstructFrom(in);
            KtByteArrayOutputStream text;
            h->serialize(text);
            out["ok"] = true;
            out["headers"] = cli::chainJson(h.get());
            out["text"] = cli::latin1(text.data(), text.size());
            return 0;
        },
        [](const cli::json& out) {
            for (const auto& h : out["headers"])
                std::cout << "header: " << h["name"].get<std::string>() << " (id " << h["id"].get<int>() << ", "
                          << h["class"].get<std::string>() << ")\n  value: " << h["value"].get<std::string>() << "\n";
            std::cout << "\n" << out["text"].get<std::string>();
        });
}
