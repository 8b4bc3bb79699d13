// The ktsip tool as scripts use it: JSON fields, exit statuses, the log array.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using nlohmann::json;

namespace {

struct Result {
    int status;
    std::string out;
};

std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

Result ktsip(const std::vector<std::string>& args) {
    std::string command = quote(KTSIP_TOOL_PATH);
    for (const auto& a : args) command += " " + quote(a);
    command += " 2>/dev/null";
    Result r{-1, ""};
    FILE* p = popen(command.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    std::size_t n;
    while ((n = fread(buf, 1, sizeof(buf), p)) > 0) r.out.append(buf, n);
    int st = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

json ktsipJson(const std::vector<std::string>& args, int expectedStatus = 0) {
    Result r = ktsip(args);
    EXPECT_EQ(r.status, expectedStatus) << r.out;
    return json::parse(r.out);
}

std::string tempFile(const std::string& bytes) {
    char name[] = "/tmp/ktsip-cli-XXXXXX";
    int fd = mkstemp(name);
    EXPECT_GE(fd, 0);
    EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(fd);
    return name;
}

}  // namespace

TEST(KtsipHeader, ChainsUnknownHeadersAndFailures) {
    json j = ktsipJson({"header", "--json", "Supported: a, b"});
    EXPECT_EQ(j["ok"], true);
    ASSERT_EQ(j["headers"].size(), 2u);
    EXPECT_EQ(j["headers"][0], json({{"name", "Supported"}, {"id", 53}, {"class", "KtSipSupportedHeader"}, {"value", "a"}}));
    EXPECT_EQ(j["headers"][1]["value"], "b");
    EXPECT_EQ(j["text"], "Supported: a\r\nSupported: b\r\n");
    EXPECT_EQ(j["log"], json::array());

    j = ktsipJson({"header", "--json", "Call-Info: <tel:1234>"});
    EXPECT_EQ(j["headers"][0]["class"], "KtSipUnknownHeader");
    EXPECT_EQ(j["headers"][0]["id"], 55);
    EXPECT_EQ(j["headers"][0]["value"], "<tel:1234>");

    j = ktsipJson({"header", "--json", "--", ": x"}, 1);
    EXPECT_EQ(j, json({{"ok", false}, {"exception", "KtSipParseError"}, {"message", "Header token expected"}, {"log", json::array()}}));
}

TEST(KtsipHeader, RawBytesMapToCodePointsOfTheSameNumber) {
    json j = ktsipJson({"header", "--json", "X-Raw: caf\xe9"});
    std::string value = j["headers"][0]["value"];
    EXPECT_EQ(value, "caf\xc3\xa9");  // U+00E9 in UTF-8
}

TEST(KtsipTool, UsageErrorsExitTwoWithoutOutput) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"nosuchcommand"}, {"header"}, {"header", "--bogus", "X: y"}, {"reason", "abc"},
             {"parse", "/nonexistent/file"}, {"--log-level", "loud", "reason", "200"}}) {
        Result r = ktsip(args);
        EXPECT_EQ(r.status, 2) << args[0];
        EXPECT_EQ(r.out, "") << args[0];
    }
}

TEST(KtsipReason, PhrasesAndFallbacks) {
    json j = ktsipJson({"reason", "--json", "180", "412", "-5", "699"});
    EXPECT_EQ(j["reasons"], json::parse(R"([{"code":180,"reason":"Ringing"},{"code":412,"reason":"Unknown 400 Class Response"},
        {"code":-5,"reason":"Unknown Response"},{"code":699,"reason":"Unknown 600 Class Response"}])"));
    Result r = ktsip({"reason", "200", "604"});
    EXPECT_EQ(r.out, "200 Ok\n604 Does not exist anywhere\n");
}

TEST(KtsipUri, FieldsByClass) {
    json sip = ktsipJson({"uri", "--json", "--bracket", "sip:alice:pw@a.example:5070;transport=tcp;lr?Subject=hi"});
    EXPECT_EQ(sip["class"], "KtSipURL");
    EXPECT_EQ(sip["user"], "alice");
    EXPECT_EQ(sip["password"], "pw");
    EXPECT_EQ(sip["host"], "a.example");
    EXPECT_EQ(sip["port"], 5070);
    EXPECT_EQ(sip["portGiven"], true);
    EXPECT_EQ(sip["transport"], "TCP");
    EXPECT_EQ(sip["inBracket"], true);
    EXPECT_EQ(sip["parameters"], json::parse(R"([["transport","tcp"],["lr",""]])"));
    EXPECT_EQ(sip["headers"], json::parse(R"([["Subject","hi"]])"));

    json tel = ktsipJson({"uri", "--json", "tel:+1-212-555-0100"});
    EXPECT_EQ(tel["class"], "KtTelURL");
    EXPECT_EQ(tel["number"], "+1-212-555-0100");
    EXPECT_EQ(tel["global"], true);

    json other = ktsipJson({"uri", "--json", "--bracket", "mailto:bob"});
    EXPECT_EQ(other["class"], "KtURI");
    EXPECT_EQ(other["scheme"], "mailto");
    EXPECT_EQ(other["schemeData"], "bob");
    EXPECT_EQ(other["string"], "mailto:bob");
    EXPECT_EQ(other["inBracket"], false);

    json bad = ktsipJson({"uri", "--json", "foo"}, 1);
    EXPECT_EQ(bad["exception"], "KtException");
    EXPECT_EQ(bad["message"], "INVALID URI");
}

TEST(KtsipAddress, DisplayNameAndBrackets) {
    json j = ktsipJson({"address", "--json", "\"Bob \\\"B\\\"\" <sip:bob@b.example>"});
    EXPECT_EQ(j["displayName"], "\"Bob \\\"B\\\"\"");
    EXPECT_EQ(j["uri"], "sip:bob@b.example");
    EXPECT_EQ(j["uriClass"], "KtSipURL");
    EXPECT_EQ(j["angleBrackets"], true);
    EXPECT_EQ(j["text"], "\"Bob \\\"B\\\"\" <sip:bob@b.example>");
    json bare = ktsipJson({"address", "--json", "sip:gw1"});
    EXPECT_EQ(bare["text"], "<sip:gw1>");
    EXPECT_EQ(bare["angleBrackets"], false);
}

TEST(KtsipParse, RequestFieldsKeyAndText) {
    std::string invite =
        "INVITE sip:bob@b.example SIP/2.0\r\n"
        "Via: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\r\n"
        "To: <sip:bob@b.example>\r\n"
        "From: <sip:alice@a.example:5070>;tag=88\r\n"
        "Call-ID: c1\r\n"
        "CSeq: 4 INVITE\r\n"
        "Content-Length: 4\r\n"
        "\r\n"
        "body";
    json j = ktsipJson({"parse", "--json", tempFile(invite)});
    EXPECT_EQ(j["class"], "KtSipInviteMessage");
    EXPECT_EQ(j["request"], true);
    EXPECT_EQ(j["method"], "INVITE");
    EXPECT_EQ(j["uri"], "sip:bob@b.example");
    EXPECT_TRUE(j["code"].is_null());
    EXPECT_EQ(j["version"], json::parse("[2,0]"));
    EXPECT_EQ(j["status"], 0);
    EXPECT_EQ(j["valid"], true);
    EXPECT_EQ(j["key"], "bobb.example5060alicea.example507088a.example5070z9hG4bK1c14");
    EXPECT_TRUE(j["key_error"].is_null());
    EXPECT_EQ(j["headers"].size(), 6u);
    EXPECT_EQ(j["headers"][0]["class"], "KtSipViaHeader");
    EXPECT_EQ(j["body_length"], 4);
    EXPECT_EQ(j["body"], "body");
    EXPECT_EQ(j["text"], invite);
}

TEST(KtsipParse, ResponsesCrlfConversionAndTheLogArray) {
    std::string response =
        "SIP/2.0 180 Ringing\n"
        "Via: SIP/2.0/UDP a.example;branch=z9hG4bK1\n"
        "To: <sip:bob@b.example>;tag=9\n"
        "From: <sip:alice@a.example>;tag=88\n"
        "Call-ID: c1\n"
        "CSeq: 4 INVITE\n"
        "CSeq: x\n"
        "Content-Length: 0\n"
        "\n";
    json j = ktsipJson({"parse", "--json", "--crlf", tempFile(response)});
    EXPECT_EQ(j["class"], "KtSipResponse");
    EXPECT_EQ(j["code"], 180);
    EXPECT_EQ(j["reason"], "Ringing");
    EXPECT_TRUE(j["method"].is_null());
    EXPECT_EQ(j["status"], 1);
    EXPECT_EQ(j["valid"], false);
    EXPECT_FALSE(j["key"].is_null());
    ASSERT_EQ(j["log"].size(), 1u);
    EXPECT_EQ(j["log"][0], "Caught KtException from KtSipHeader::sConstructFrom(): Invalid CSeq header");

    json keepAlive = ktsipJson({"parse", "--json", tempFile("\r\n\r\n")}, 1);
    EXPECT_EQ(keepAlive["exception"], "KtSipParseKeepAliveException");
    EXPECT_EQ(keepAlive["message"], "Keep-alive datagram encountered");
}

TEST(KtsipDigest, AnswerThenVerify) {
    const std::string challenge =
        "Digest realm=\"testrealm@host.com\",qop=\"auth,auth-int\",nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\","
        "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"";
    json answer = ktsipJson({"digest", "--json", "--challenge", challenge, "--user", "Mufasa", "--password",
                             "Circle Of Life", "--method", "GET", "--uri", "/dir/index.html", "--qop", "auth",
                             "--cnonce", "0a4f113b", "--nc", "1"});
    EXPECT_EQ(answer["response"], "6629fae49393a05397450978507c4ef1");  // RFC 2617, section 3.5
    std::string value = answer["value"];
    EXPECT_EQ(value.rfind("Digest username=\"Mufasa\",realm=\"testrealm@host.com\",", 0), 0u) << value;

    struct Row {
        const char* password;
        const char* realm;
        bool valid;
    } rows[] = {{"Circle Of Life", "testrealm@host.com", true},
                {"circle of life", "testrealm@host.com", false},
                {"Circle Of Life", "otherrealm", false}};
    for (const Row& r : rows) {
        json v = ktsipJson({"digest", "--json", "--verify", value, "--user", "Mufasa", "--password", r.password,
                            "--realm", r.realm, "--method", "GET"});
        EXPECT_EQ(v["valid"], r.valid) << r.password << " " << r.realm;
    }
    json basic = ktsipJson({"digest", "--json", "--challenge", "Basic realm=\"x\"", "--user", "u", "--password", "p",
                            "--method", "GET", "--uri", "/"}, 1);
    EXPECT_EQ(basic["message"], "Challenge type not supported !");
}

TEST(KtsipDerive, BuildsFromTheParsedMessageAndReportsFailures) {
    const std::string invite = tempFile(
        "INVITE sip:bob@b.example SIP/2.0\nVia: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\n"
        "Record-Route: <sip:p1.example;lr>\nFrom: <sip:alice@a.example:5070>;tag=88\nTo: <sip:bob@b.example>\n"
        "Call-ID: c1\nCSeq: 4 INVITE\nContent-Length: 0\n\n");
    json ok = ktsipJson({"derive", "--json", "--crlf", "response", "200", "--body", "v=0", "--type", "application/sdp",
                         invite});
    EXPECT_EQ(ok["class"], "KtSipResponse");
    EXPECT_EQ(ok["key"], "bobb.example5060alicea.example507088a.example5070z9hG4bK1c14");
    std::vector<std::string> names;
    for (const auto& h : ok["headers"]) names.push_back(h["name"]);
    EXPECT_EQ(names, (std::vector<std::string>{"Via", "From", "To", "Call-ID", "CSeq", "Content-Length", "Content-Type",
                                               "Record-Route"}));
    EXPECT_EQ(ok["body"], "v=0");

    struct Row {
        std::vector<std::string> args;
        const char* cls;    // nullptr: the constructor refuses
        const char* found;  // text of the built message, or the exception message
    } rows[] = {{{"cancel"}, "KtSipCancelMessage", "CSeq: 4 CANCEL\r\n"},
                {{"bye"}, "KtSipByeMessage", "CSeq: 5 BYE\r\n"},
                {{"response", "699"}, "KtSipResponse", "SIP/2.0 699 Unknown 600 Class Response\r\n"},
                {{"response", "700"}, nullptr, "Invalid Response code"},
                {{"ack"}, nullptr, "Handle to response is NIL"}};
    for (const Row& r : rows) {
        std::vector<std::string> args{"derive", "--json", "--crlf"};
        args.insert(args.end(), r.args.begin(), r.args.end());
        args.push_back(invite);
        json j = ktsipJson(args, r.cls ? 0 : 1);
        EXPECT_EQ(r.cls ? j["class"] : j["exception"], r.cls ? r.cls : "KtSipParseError");
        EXPECT_NE(j[r.cls ? "text" : "message"].get<std::string>().find(r.found), std::string::npos) << r.found;
    }

    // A request whose Via could not be read (status 1) still gets its response; the
    // failed check of the response is a warning on standard error, not a failure.
    const std::string broken = tempFile(
        "OPTIONS sip:bob@b.example SIP/2.0\nVia: x\nFrom: <sip:a@a.example>;tag=1\nTo: <sip:bob@b.example>\n"
        "Call-ID: c2\nCSeq: 1 OPTIONS\nContent-Length: 0\n\n");
    json warned = ktsipJson({"derive", "--json", "--crlf", "response", "200", broken});
    EXPECT_EQ(warned["status"], 2);
    EXPECT_EQ(warned["log"].size(), 1u);
    std::string stderrText;
    if (FILE* p = popen((quote(KTSIP_TOOL_PATH) + " --log-level warn derive --crlf response 200 " + quote(broken) +
                         " 2>&1 >/dev/null").c_str(), "r")) {
        char buf[4096];
        for (std::size_t n; (n = fread(buf, 1, sizeof(buf), p)) > 0;) stderrText.append(buf, n);
        pclose(p);
    }
    EXPECT_NE(stderrText.find("missing Via header in SIP response :"), std::string::npos) << stderrText;

    EXPECT_EQ(ktsipJson({"derive", "--json", "cancel", tempFile("\r\n")}, 1)["exception"], "KtSipParseKeepAliveException");
    for (const auto& bad : std::vector<std::vector<std::string>>{
             {"derive"}, {"derive", "reply", invite}, {"derive", "response", invite}, {"derive", "bye", "--body", "x", invite}})
        EXPECT_EQ(ktsip(bad).status, 2) << bad.back();
}
