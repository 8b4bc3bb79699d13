// ktsip digest: the Authorization value that answers a Digest challenge, or its verification.
#include <cstdlib>
#include <iostream>

#include "Commands.h"
#include "KtHexEncoding.h"
#include "KtSipChallengeInfo.h"
#include "KtSipCredentialsInfo.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"

namespace {

std::string required(const cli::Args& a, const char* option) {
    if (!a.hasValue(option)) throw cli::UsageError(std::string("digest needs ") + option);
    return a.value(option);
}

}  // namespace

int cmd::digest(const std::vector<std::string>& args) {
    cli::Args a(args, {"--json"},
                {"--challenge", "--user", "--password", "--method", "--uri", "--qop", "--cnonce", "--nc", "--body",
                 "--verify", "--realm"});
    if (!a.operands().empty()) throw cli::UsageError("digest takes no operands");
    const bool verify = a.hasValue("--verify");
    const std::string user = required(a, "--user");
    const std::string password = required(a, "--password");
    const std::string method = required(a, "--method");
    std::string challengeText, uri, realm, verifyText;
    if (verify) {
        verifyText = a.value("--verify");
        realm = required(a, "--realm");
    } else {
        challengeText = required(a, "--challenge");
        uri = required(a, "--uri");
    }
    int nc = 0;
    if (a.hasValue("--qop")) {
        std::string n = required(a, "--nc");
        char* end = nullptr;
        long v = std::strtol(n.c_str(), &end, 10);
        if (n.empty() || *end != '\0' || v < 0 || v > 2147483647L) throw cli::UsageError("--nc takes a number");
        nc = static_cast<int>(v);
        required(a, "--cnonce");
    }
    return cli::run(
        a.has("--json"),
        [&](cli::json& out, cli::ErrorCapture&) {
            if (verify) {
                KtHandle<KtSipCredentialsInfo> credentials = KtSipCredentialsInfo::sConstructFromValue(verifyText.c_str());
                auto digestCredentials = credentials.dynamicCast<KtSipDigestCredentialsInfo>();
                if (digestCredentials.isNil()) KtException::sThrow("Credentials type not supported !");
                digestCredentials->setMethod(method.c_str());
                out["ok"] = true;
                out["valid"] = digestCredentials->validate(user.c_str(), password.c_str(), realm.c_str());
                return 0;
            }
            KtHandle<KtSipChallengeInfo> challenge = KtSipChallengeInfo::sConstructFromValue(challengeText.c_str());
            auto digestChallenge = challenge.dynamicCast<KtSipDigestChallengeInfo>();
            if (digestChallenge.isNil()) KtException::sThrow("Challenge type not supported !");
            KtHandle<KtSipDigestCredentialsInfo> credentials(
                new KtSipDigestCredentialsInfo(digestChallenge, user.c_str(), password.c_str()));
            credentials->setMethod(method.c_str());
            credentials->setUri(uri.c_str());
            if (a.hasValue("--qop")) credentials->setQop(a.value("--qop").c_str(), a.value("--cnonce").c_str(), nc);
            if (a.hasValue("--body")) credentials->setEntityBody(a.value("--body").c_str());
            KtString response = KtHexEncoding::toHex(credentials->getRequestDigest());
            KtByteArrayOutputStream value;
            value << credentials->getType() << " ";
            credentials->serialize(value);
            out["ok"] = true;
            out["value"] = cli::latin1(value.data(), value.size());
            out["response"] = response.c_str();
            return 0;
        },
        [](const cli::json& out) { cli::printReadable(out, {"ok", "log"}); });
}
