// ktsip header: one header line through the header registry.
#include <iostream>
#include <memory>

#include "Commands.h"
#include "KtSipHeader.h"

cmd::Command cmd::addHeader(CLI::App& ktsip) {
    CLI::App* header = nullptr;
    auto o = addTextCommand(ktsip, header, "header", "parse one header line (a list gives a chain of headers)", "LINE",
                            "the line without its line end (the tool appends CR LF)");
    return {header, [o] {
                const std::string line = o->text + "\r\n";
                return cli::run(
                    o->json,
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
                            std::cout << "header: " << h["name"].get<std::string>() << " (id " << h["id"].get<int>()
                                      << ", " << h["class"].get<std::string>()
                                      << ")\n  value: " << h["value"].get<std::string>() << "\n";
                        std::cout << "\n" << out["text"].get<std::string>();
                    });
            }};
}
