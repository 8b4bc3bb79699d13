// ktsip reason: default reason phrases.
#include <cstdlib>
#include <iostream>

#include "Commands.h"
#include "KtSipResponseCode.h"

int cmd::reason(const std::vector<std::string>& args) {
    cli::Args a(args, {"--json"}, {});
    if (a.operands().empty()) throw cli::UsageError("reason takes at least one CODE");
    std::vector<int> codes;
    for (const std::string& s : a.operands()) {
        char* end = nullptr;
        long v = std::strtol(s.c_str(), &end, 10);
        if (s.empty() || *end != '\0' || v < -2147483647L || v > 2147483647L)
            throw cli::UsageError("not a status code: " + s);
        codes.push_back(static_cast<int>(v));
    }
    return cli::run(
        a.has("--json"),
        [&](cli::json& out, cli::ErrorCapture&) {
            out["ok"] = true;
            out["reasons"] = cli::json::array();
            for (int c : codes)
                out["reasons"].push_back({{"code", c}, {"reason", KtSipResponseCode::getReasonPhrase(c)}});
            return 0;
        },
        [](const cli::json& out) {
            for (const auto& r : out["reasons"])
                std::cout << r["code"].get<int>() << " " << r["reason"].get<std::string>() << "\n";
        });
}
