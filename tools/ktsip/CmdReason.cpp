// ktsip reason: default reason phrases.
#include <iostream>
#include <memory>

#include "Commands.h"
#include "KtSipResponseCode.h"

cmd::Command cmd::addReason(CLI::App& ktsip) {
    struct Options {
        bool json = false;
        std::vector<std::string> codes;
    };
    auto o = std::make_shared<Options>();
    CLI::App* reason = ktsip.add_subcommand("reason", "the default reason phrase of each status code");
    addJsonFlag(*reason, o->json);
    // Negative numbers are operands ("-5"), not options.
    reason->add_option("CODE", o->codes, "decimal status codes (any int)")->required();
    return {reason, [o] {
                std::vector<int> codes;
                for (const std::string& s : o->codes)
                    codes.push_back(static_cast<int>(cli::decimal(s, "CODE", -2147483647LL, 2147483647LL)));
                return cli::run(
                    o->json,
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
            }};
}
