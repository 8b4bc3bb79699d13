// The ktsip tool as scripts use it: JSON fields, exit statuses, the log array.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ToolTestSupport.h"

using nlohmann::json;

namespace {

using kttest::runTool;
using kttest::scratchFile;

json ktsipJson(const std::vector<std::string>& args, int expectedStatus = 0) {
    const kttest::ToolRun r = runTool(args);
    EXPECT_EQ(r.status, expectedStatus) << r.out;
    return json::parse(r.out);
}

// Each member of `expected` has its value in `actual` (a name starting with "/" is a JSON
// pointer into it); other members are not looked at.
void expectFields(json actual, const json& expected) {
    for (const auto& item : expected.items()) {
        const json& found = item.key()[0] == '/' ? actual[json::json_pointer(item.key())] : actual[item.key()];
        EXPECT_EQ(found, item.value()) << item.key();
    }
}

}  // namespace

TEST(KtsipHeader, ChainsUnknownHeadersRawBytesAndFailures) {
    json j = ktsipJson({"header", "--json", "Supported: a, b"});
    expectFields(j, {{"ok", true}, {"text", "Supported: a\r\nSupported: b\r\n"}, {"log", json::array()}});
    ASSERT_EQ(j["headers"].size(), 2u);
    EXPECT_EQ(j["headers"][0], json({{"name", "Supported"}, {"id", 53}, {"class", "KtSipSupportedHeader"}, {"value", "a"}}));
    EXPECT_EQ(j["headers"][1]["value"], "b");
    EXPECT_EQ(ktsipJson({"header", "--json", "--", ": x"}, 1),
              json({{"ok", false}, {"exception", "KtSipParseError"}, {"message", "Header token expected"},
                    {"log", json::array()}}));
    // Raw bytes map to the code points of the same number: U+00E9 in UTF-8.
    EXPECT_EQ(ktsipJson({"header", "--json", "X-Raw: caf\xe9"})["headers"][0]["value"], "caf\xc3\xa9");
}

TEST(KtsipTool, UsageErrorsExitTwoWithOneLineNamingTheCulprit) {
    const std::string nineBytes = scratchFile("123456789");
    // arguments; a text the line on standard error must contain
    struct Row { std::vector<std::string> args; std::string names; } rows[] = {
        {{"nosuchcommand"}, "nosuchcommand"}, {{}, "COMMAND"}, {{"header"}, "LINE"},
        {{"header", "--bogus", "X: y"}, "--bogus"}, {{"reason", "abc"}, "abc"}, {{"reason", "--", "-x"}, "-x"},
        {{"parse", "/nonexistent/file"}, "/nonexistent/file"}, {{"parse", KTSIP_SOURCE_DIR}, KTSIP_SOURCE_DIR},
        {{"derive", "cancel", KTSIP_SOURCE_DIR}, KTSIP_SOURCE_DIR},
        {{"parse", "--max-bytes", "8", nineBytes}, "--max-bytes"},
        {{"derive", "--max-bytes", "8", "cancel", nineBytes}, "--max-bytes"},
        {{"parse", "--max-bytes", "x"}, "--max-bytes"}, {{"--log-level", "loud", "reason", "200"}, "--log-level"},
        {{"reason", "--log-level"}, "--log-level"}, {{"serve", "--port", "70000"}, "--port"},
        {{"serve", "--threads", "0"}, "--threads"}, {{"serve", "--user"}, "--user"},
        {{"digest", "--user", "u", "--password", "p", "--method", "GET", "--uri", "/"}, "--challenge"},
        {{"derive", "response", "2x", nineBytes}, "CODE"}};
    for (const Row& r : rows) {
        const std::string label = r.args.empty() ? "(none)" : r.args[0] + " " + r.args.back();
        const kttest::ToolRun err = runTool(r.args, " 2>&1 >/dev/null");
        EXPECT_EQ(err.status, 2) << label;
        EXPECT_NE(err.out.find(r.names), std::string::npos) << label << ": " << err.out;
        EXPECT_EQ(std::count(err.out.begin(), err.out.end(), '\n'), 1) << label << ": " << err.out;
        EXPECT_EQ(runTool(r.args).out, "") << label;
    }
}

TEST(KtsipTool, TextOutput) {
    // arguments; a text standard output contains
    struct Row { std::vector<std::string> args; std::string text; } rows[] = {
        {{"--help"}, "Usage: ktsip [OPTIONS] [SUBCOMMAND]"}, {{"--help"}, "derive"},
        {{"reason", "-5", "200", "604"}, "-5 Unknown Response\n200 Ok\n604 Does not exist anywhere\n"},  // -5 is an operand
    };
    std::vector<Row> all(std::begin(rows), std::end(rows));
    for (const char* command : {"parse", "header", "uri", "address", "reason", "derive", "digest", "serve"})
        all.push_back({{command, "--help"}, std::string("Usage: ktsip ") + command});
    for (const Row& r : all) {
        const kttest::ToolRun run = runTool(r.args);
        EXPECT_EQ(run.status, 0) << r.args[0];
        EXPECT_NE(run.out.find(r.text), std::string::npos) << run.out;
    }
}

TEST(KtsipTool, JsonFieldsOfEachCommand) {
    const std::string invite =
        "INVITE sip:bob@b.example SIP/2.0\r\nVia: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\r\n"
        "To: <sip:bob@b.example>\r\nFrom: <sip:alice@a.example:5070>;tag=88\r\nCall-ID: c1\r\nCSeq: 4 INVITE\r\n"
        "Content-Length: 4\r\n\r\nbody";
    const std::string response = "SIP/2.0 180 Ringing\nVia: SIP/2.0/UDP a.example;branch=z9hG4bK1\n"
                                 "To: <sip:bob@b.example>;tag=9\nFrom: <sip:alice@a.example>;tag=88\nCall-ID: c1\n"
                                 "CSeq: 4 INVITE\nCSeq: x\nContent-Length: 0\n\n";
    json request = json::parse(R"({"class": "KtSipInviteMessage", "request": true, "method": "INVITE",
        "uri": "sip:bob@b.example", "code": null, "version": [2, 0], "status": 0, "valid": true,
        "key": "bobb.example5060alicea.example507088a.example5070z9hG4bK1c14", "key_error": null,
        "body_length": 4, "body": "body", "/headers/0/class": "KtSipViaHeader",
        "/headers/5/class": "KtSipContentLengthHeader"})");
    request["text"] = invite;
    // arguments, exit status, fields of the JSON object (others are not looked at)
    struct Row { std::vector<std::string> args; int status; json fields; };
    const Row rows[] = {
        {{"parse", "--json", scratchFile(invite)}, 0, request},
        // --max-bytes admits input of exactly its size; --log-level may follow the command.
        {{"parse", "--max-bytes", std::to_string(invite.size()), "--log-level", "off", "--json", scratchFile(invite)}, 0,
         {{"text", invite}}},
        {{"parse", "--json", "--crlf", scratchFile(response)}, 0,
         json::parse(R"({"class": "KtSipResponse", "code": 180, "reason": "Ringing", "method": null, "status": 1,
             "valid": false, "key": "bobb.example5060alicea.example506088a.example5060z9hG4bK1c14",
             "log": ["Caught KtException from KtSipHeader::sConstructFrom(): Invalid CSeq header"]})")},
        {{"uri", "--json", "--bracket", "sip:alice:pw@a.example:5070;transport=tcp;lr?Subject=hi"}, 0,
         json::parse(R"({"class": "KtSipURL", "user": "alice", "password": "pw", "host": "a.example", "port": 5070,
             "portGiven": true, "transport": "TCP", "inBracket": true, "parameters": [["transport", "tcp"], ["lr", ""]],
             "headers": [["Subject", "hi"]]})")},
        {{"uri", "--json", "tel:+1-212-555-0100"}, 0, {{"class", "KtTelURL"}, {"number", "+1-212-555-0100"}, {"global", true}}},
        {{"uri", "--json", "--bracket", "mailto:bob"}, 0,
         {{"class", "KtURI"}, {"scheme", "mailto"}, {"schemeData", "bob"}, {"string", "mailto:bob"}, {"inBracket", false}}},
        {{"uri", "--json", "foo"}, 1, {{"exception", "KtException"}, {"message", "INVALID URI"}}},
        {{"address", "--json", "\"Bob \\\"B\\\"\" <sip:bob@b.example>"}, 0,
         {{"displayName", "\"Bob \\\"B\\\"\""}, {"uri", "sip:bob@b.example"}, {"uriClass", "KtSipURL"},
          {"angleBrackets", true}, {"text", "\"Bob \\\"B\\\"\" <sip:bob@b.example>"}}},
        {{"address", "--json", "sip:gw1"}, 0, {{"text", "<sip:gw1>"}, {"angleBrackets", false}}},
        {{"header", "--json", "Call-Info: <tel:1234>"}, 0,
         {{"headers", {{{"name", "Call-Info"}, {"id", 55}, {"class", "KtSipUnknownHeader"}, {"value", "<tel:1234>"}}}}}},
        {{"reason", "--json", "180", "412", "-5", "699"}, 0,
         {{"reasons", json::parse(R"([{"code":180,"reason":"Ringing"},{"code":412,"reason":"Unknown 400 Class Response"},
             {"code":-5,"reason":"Unknown Response"},{"code":699,"reason":"Unknown 600 Class Response"}])")}}},
        {{"parse", "--json", scratchFile("\r\n\r\n")}, 1,
         {{"exception", "KtSipParseKeepAliveException"}, {"message", "Keep-alive datagram encountered"}}},
        {{"digest", "--json", "--challenge", "Basic realm=\"x\"", "--user", "u", "--password", "p", "--method", "GET",
          "--uri", "/"}, 1, {{"message", "Challenge type not supported !"}}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.args[0] + " " + r.args.back());
        expectFields(ktsipJson(r.args, r.status), r.fields);
    }
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

    struct Row { const char* password; const char* realm; bool valid; } rows[] = {
        {"Circle Of Life", "testrealm@host.com", true}, {"circle of life", "testrealm@host.com", false},
        {"Circle Of Life", "otherrealm", false}};
    for (const Row& r : rows) {
        json v = ktsipJson({"digest", "--json", "--verify", value, "--user", "Mufasa", "--password", r.password,
                            "--realm", r.realm, "--method", "GET"});
        EXPECT_EQ(v["valid"], r.valid) << r.password << " " << r.realm;
    }
}

TEST(KtsipDerive, BuildsFromTheParsedMessageAndReportsFailures) {
    const std::string invite = scratchFile(
        "INVITE sip:bob@b.example SIP/2.0\nVia: SIP/2.0/UDP a.example:5070;branch=z9hG4bK1\n"
        "Record-Route: <sip:p1.example;lr>\nFrom: <sip:alice@a.example:5070>;tag=88\nTo: <sip:bob@b.example>\n"
        "Call-ID: c1\nCSeq: 4 INVITE\nContent-Length: 0\n\n");
    json ok = ktsipJson({"derive", "--json", "--crlf", "response", "200", "--body", "v=0", "--type", "application/sdp",
                         invite});
    expectFields(ok, {{"class", "KtSipResponse"}, {"body", "v=0"},
                      {"key", "bobb.example5060alicea.example507088a.example5070z9hG4bK1c14"}});
    std::vector<std::string> names;
    for (const auto& h : ok["headers"]) names.push_back(h["name"]);
    EXPECT_EQ(names, (std::vector<std::string>{"Via", "From", "To", "Call-ID", "CSeq", "Content-Length", "Content-Type",
                                               "Record-Route"}));

    // arguments; class built (null: the constructor refuses); text of the built message, or the exception message
    struct Row { std::vector<std::string> args; const char* cls; const char* found; } rows[] = {
        {{"cancel"}, "KtSipCancelMessage", "CSeq: 4 CANCEL\r\n"}, {{"bye"}, "KtSipByeMessage", "CSeq: 5 BYE\r\n"},
        {{"response", "699"}, "KtSipResponse", "SIP/2.0 699 Unknown 600 Class Response\r\n"},
        {{"response", "700"}, nullptr, "Invalid Response code"}, {{"ack"}, nullptr, "Handle to response is NIL"}};
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
    const std::string broken = scratchFile(
        "OPTIONS sip:bob@b.example SIP/2.0\nVia: x\nFrom: <sip:a@a.example>;tag=1\nTo: <sip:bob@b.example>\n"
        "Call-ID: c2\nCSeq: 1 OPTIONS\nContent-Length: 0\n\n");
    json warned = ktsipJson({"derive", "--json", "--crlf", "response", "200", broken});
    EXPECT_EQ(warned["status"], 2);
    EXPECT_EQ(warned["log"].size(), 1u);
    const std::string stderrText =
        runTool({"--log-level", "warn", "derive", "--crlf", "response", "200", broken}, " 2>&1 >/dev/null").out;
    EXPECT_NE(stderrText.find("missing Via header in SIP response :"), std::string::npos) << stderrText;

    EXPECT_EQ(ktsipJson({"derive", "--json", "cancel", scratchFile("\r\n")}, 1)["exception"], "KtSipParseKeepAliveException");
    for (const auto& bad : std::vector<std::vector<std::string>>{
             {"derive"}, {"derive", "reply", invite}, {"derive", "response", invite}, {"derive", "bye", "--body", "x", invite}})
        EXPECT_EQ(runTool(bad).status, 2) << bad.back();
}
