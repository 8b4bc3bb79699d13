// ktsip digest: the Authorization value that answers a Digest challenge, or its verification.
#include <map>
#include <memory>
#include <utility>

#include "Commands.h"
#include "KtHexEncoding.h"
#include "KtSipChallengeInfo.h"
#include "KtSipCredentialsInfo.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"

namespace {

/// The options of `digest`; each value is kept with the option that gives it, so that
/// "given" and "missing" can be told apart.
struct DigestOptions {
    bool json = false;
    std::map<std::string, std::pair<CLI::Option*, std::string>> values;

    bool has(const std::string& option) const { return values.at(option).first->count() != 0; }
    const std::string& value(const std::string& option) const { return values.at(option).second; }
    /// The value of an option the chosen form needs.
    const std::string& required(const std::string& option) const {
        if (!has(option)) throw cli::UsageError("digest needs " + option);
        return value(option);
    }
};

int runDigest(const DigestOptions& a);

}  // namespace

cmd::Command cmd::addDigest(CLI::App& ktsip) {
    auto o = std::make_shared<DigestOptions>();
    CLI::App* digest = ktsip.add_subcommand(
        "digest", "answer a Digest challenge (--challenge ... --uri), or verify credentials (--verify ... --realm)");
    addJsonFlag(*digest, o->json);
    const std::pair<const char*, const char*> options[] = {
        {"--challenge", "the WWW-Authenticate or Proxy-Authenticate value to answer"},
        {"--user", "the user name"},
        {"--password", "the password"},
        {"--method", "the request's method"},
        {"--uri", "the request URI (answering)"},
        {"--qop", "the quality of protection to answer with (needs --cnonce and --nc)"},
        {"--cnonce", "the client nonce"},
        {"--nc", "the nonce count, a decimal number"},
        {"--body", "the entity body (for qop auth-int)"},
        {"--verify", "the Authorization value to verify"},
        {"--realm", "the realm to verify against"}};
    for (const auto& option : options) {
        auto& slot = o->values[option.first];
        slot.first = digest->add_option(option.first, slot.second, option.second);
    }
    return {digest, [o] { return runDigest(*o); }};
}

namespace {

int runDigest(const DigestOptions& a) {
    const bool verify = a.has("--verify");
    const std::string user = a.required("--user");
    const std::string password = a.required("--password");
    const std::string method = a.required("--method");
    std::string challengeText, uri, realm, verifyText;
    if (verify) {
        verifyText = a.value("--verify");
        realm = a.required("--realm");
    } else {
        challengeText = a.required("--challenge");
        uri = a.required("--uri");
    }
    int nc = 0;
    if (a.has("--qop")) {
        nc = static_cast<int>(cli::decimal(a.required("--nc"), "--nc", 0, 2147483647LL));
        a.required("--cnonce");
    }
    return cli::run(
        a.json,
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
            if (a.has("--qop")) credentials->setQop(a.value("--qop").c_str(), a.value("--cnonce").c_str(), nc);
            if (a.has("--body")) credentials->setEntityBody(a.value("--body").c_str());
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

}  // namespace
