// ktsip serve as a peer sees it: a server in a child process on free loopback ports, raw
// UDP datagrams and TCP byte streams sent to it, the status lines and headers it answers
// with, and the counts it prints when it is stopped.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "KtHexEncoding.h"
#include "KtSipChallengeInfo.h"
#include "KtSipDigestChallengeInfo.h"
#include "KtSipDigestCredentialsInfo.h"
#include "TestSupport.h"

using nlohmann::json;

namespace {

// Reads what `fd` has within `ms` milliseconds (nothing when it has nothing).
std::string readFor(int fd, int ms) {
    std::string out;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    for (char buf[8192];;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd p{fd, POLLIN, 0};
        const bool ready = left.count() > 0 && poll(&p, 1, static_cast<int>(left.count())) > 0;
        const ssize_t n = ready ? read(fd, buf, sizeof(buf)) : 0;
        if (n <= 0) return out;
        out.append(buf, static_cast<std::size_t>(n));
    }
}

// `ktsip serve` in a child process, on a port of the system's choice; stopped with SIGTERM.
class Server {
public:
    explicit Server(std::vector<std::string> extra = {}) {
        int err[2], out[2];
        if (pipe(err) != 0 || pipe(out) != 0) return;
        std::vector<std::string> args = {"ktsip", "serve", "--port", "0", "--json"};
        args.insert(args.end(), extra.begin(), extra.end());
        m_Pid = fork();
        if (m_Pid == 0) {
            dup2(out[1], 1);
            dup2(err[1], 2);
            for (int fd : {out[0], out[1], err[0], err[1]}) close(fd);
            std::vector<char*> argv;
            for (auto& a : args) argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(KTSIP_TOOL_PATH, argv.data());
            _exit(127);
        }
        for (int fd : {out[1], err[1]}) close(fd);
        m_Out = out[0];
        m_Err = err[0];
        // The first line on standard error names the port: "... listening on 127.0.0.1:PORT (...".
        for (int i = 0; i < 50 && m_Log.find('\n') == std::string::npos; ++i) m_Log += readFor(m_Err, 100);
        const std::size_t at = m_Log.find("listening on 127.0.0.1:");
        if (at != std::string::npos) m_Port = static_cast<unsigned>(std::stoul(m_Log.substr(at + 23)));
    }
    ~Server() { if (m_Pid > 0) stop(); }
    unsigned port() const { return m_Port; }

    // Stops the server; returns the counts it printed (null when it printed none), and
    // checks that it exited with status 0.
    json stop() {
        kill(m_Pid, SIGTERM);
        std::string out;
        int status = -1;
        for (int i = 0; i < 100; ++i) {
            out += readFor(m_Out, 50);
            if (waitpid(m_Pid, &status, WNOHANG) == m_Pid) break;
        }
        if (waitpid(m_Pid, &status, WNOHANG) == 0) {
            kill(m_Pid, SIGKILL);
            waitpid(m_Pid, &status, 0);
        }
        out += readFor(m_Out, 50);
        m_Pid = -1;
        close(m_Out);
        close(m_Err);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status << "\n" << m_Log;
        return out.empty() ? json() : json::parse(out, nullptr, false);
    }

private:
    pid_t m_Pid = -1;
    int m_Out = -1, m_Err = -1;
    unsigned m_Port = 0;
    std::string m_Log;
};

sockaddr_in loopback(unsigned port) {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return a;
}

// A client socket on loopback: UDP, or TCP connected to the server.
class Client {
public:
    Client(unsigned serverPort, int type) : m_Fd(socket(AF_INET, type, 0)) {
        const sockaddr_in server = loopback(serverPort);
        m_Connected = connect(m_Fd, reinterpret_cast<const sockaddr*>(&server), sizeof(server)) == 0;
    }
    ~Client() { close(m_Fd); }
    bool connected() const { return m_Connected; }
    void send(const std::string& bytes) {
        EXPECT_EQ(::send(m_Fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    // UDP: the next datagram, or "" after `ms` milliseconds without one.
    std::string receive(int ms = 2000) {
        pollfd p{m_Fd, POLLIN, 0};
        if (poll(&p, 1, ms) <= 0) return "";
        char buf[65536];
        const ssize_t n = recv(m_Fd, buf, sizeof(buf), 0);
        return n > 0 ? std::string(buf, static_cast<std::size_t>(n)) : std::string();
    }
    // TCP: what arrives until `count` messages have arrived, or `ms` milliseconds have passed.
    std::string receive(int count, int ms) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
        while (messages(m_Buffer) < count && std::chrono::steady_clock::now() < end) m_Buffer += readFor(m_Fd, 50);
        return std::exchange(m_Buffer, std::string());
    }
    std::string raw(int ms) { return readFor(m_Fd, ms); }
    // True when the server has closed the connection within `ms` milliseconds.
    bool closedBy(int ms) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
        for (pollfd p{m_Fd, POLLIN, 0}; std::chrono::steady_clock::now() < end;) {
            char buf[4096];
            if (poll(&p, 1, 50) > 0 && recv(m_Fd, buf, sizeof(buf), 0) <= 0) return true;
        }
        return false;
    }
    static int messages(const std::string& s) {
        int n = 0;
        for (std::size_t at = s.find("SIP/2.0 "); at != std::string::npos; at = s.find("\r\nSIP/2.0 ", at + 1)) ++n;
        return n;
    }

private:
    int m_Fd;
    bool m_Connected = false;
    std::string m_Buffer;
};

std::string request(const std::string& method, const std::string& callId, const std::string& extra = "",
                    const std::string& body = "", const std::string& line = "") {
    std::string text = line.empty() ? method + " sip:bob@127.0.0.1 SIP/2.0" : line;
    text += "\r\nVia: SIP/2.0/UDP 127.0.0.1:5099;branch=z9hG4bK-" + callId +
            "\r\nFrom: <sip:alice@127.0.0.1>;tag=f-" + callId + "\r\nTo: <sip:bob@127.0.0.1>\r\nCall-ID: " + callId +
            "\r\nCSeq: 1 " + method + "\r\n" + extra;
    text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    return text;
}

std::string statusLine(const std::string& message) { return message.substr(0, message.find("\r\n")); }

// The value of the first header `name` in `message` ("" when absent).
std::string header(const std::string& message, const std::string& name) {
    const std::size_t at = message.find("\r\n" + name + ": ");
    if (at == std::string::npos) return "";
    const std::size_t start = at + 4 + name.size();
    return message.substr(start, message.find("\r\n", start) - start);
}

std::string toTag(const std::string& message) {
    const std::string to = header(message, "To");
    const std::size_t at = to.find(";tag=");
    return at == std::string::npos ? "" : to.substr(at + 5);
}

// Each leaf of `expected` has its value in `actual`; other members are not looked at.
void expectCounts(const json& actual, const json& expected, const std::string& path = "") {
    for (const auto& item : expected.items()) {
        if (item.value().is_object())
            expectCounts(actual.value(item.key(), json::object()), item.value(), path + item.key() + ".");
        else
            EXPECT_EQ(actual.value(item.key(), json()), item.value()) << path + item.key();
    }
}

}  // namespace

// One datagram each; "" means no answer. An OPTIONS probe sent after a silent case proves
// the server read the datagram and went on (its answer is the next datagram to arrive).
TEST(KtsipServe, AnswersEachKindOfDatagram) {
    Server server;
    ASSERT_NE(server.port(), 0u);
    Client udp(server.port(), SOCK_DGRAM);
    struct Row { const char* name; std::string datagram, status; std::vector<std::string> linesInAnswer = {}; };
    const std::string longUri = "sip:" + std::string(1100, 'a') + "@127.0.0.1";
    const std::vector<Row> rows = {
        {"options", request("OPTIONS", "o1"), "SIP/2.0 200 Ok",
         {"Allow: INVITE\r\n", "Allow: CANCEL\r\n", "Accept: application/sdp\r\n", "Supported:",
          "Contact: <sip:ktsip@127.0.0.1:" + std::to_string(server.port()) + ">\r\n"}},
        {"bad version", request("INVITE", "v1", "", "", "INVITE sip:bob@127.0.0.1 SIP/3.0"), "SIP/2.0 505 SIP Version not supported"},
        {"unsupported scheme", request("OPTIONS", "s1", "", "", "OPTIONS http://example.com/ SIP/2.0"), "SIP/2.0 416 Unsupported URI Scheme"},
        {"request line too long", request("OPTIONS", "l1", "", "", "OPTIONS " + longUri + " SIP/2.0"), "SIP/2.0 414 Request-URI Too Large"},
        {"CSeq method differs", request("BYE", "m1", "", "", "OPTIONS sip:bob@127.0.0.1 SIP/2.0"), "SIP/2.0 400 Bad Request"},
        {"unknown method", request("PUBLISH", "p1"), "SIP/2.0 501 Not Implemented"},
        {"required extension", request("INFO", "r1", "Require: 100rel\r\n"), "SIP/2.0 420 Bad Extension"},
        {"bye", request("BYE", "b1"), "SIP/2.0 200 Ok"},
        {"message", request("MESSAGE", "g1", "Content-Type: text/plain\r\n", "hello"), "SIP/2.0 200 Ok"},
        // Without users a REGISTER is accepted at once; the time granted is capped.
        {"register without users", request("REGISTER", "r2", "Contact: <sip:alice@127.0.0.1:5099>\r\nExpires: 99999\r\n"),
         "SIP/2.0 200 Ok", {"Expires: 3600\r\n"}},
        {"keep-alive", "\r\n\r\n", ""},
        {"empty datagram", "", ""},
        {"garbage", "\x01\x02 not SIP at all", ""},
        {"no headers to answer with", "OPTIONS sip:bob@127.0.0.1 SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1:5099\r\n\r\n", ""},
        {"ack", request("ACK", "a1"), ""},
        {"a response", "SIP/2.0 200 OK\r\nVia: SIP/2.0/UDP 127.0.0.1\r\nFrom: <sip:a@b>;tag=1\r\nTo: <sip:c@d>\r\n"
                       "Call-ID: x\r\nCSeq: 1 OPTIONS\r\nContent-Length: 0\r\n\r\n", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        udp.send(row.datagram);
        if (row.status.empty()) udp.send(request("OPTIONS", "probe"));
        const std::string answer = udp.receive();
        if (row.status.empty()) {
            EXPECT_EQ(header(answer, "Call-ID"), "probe") << answer;
            continue;
        }
        EXPECT_EQ(statusLine(answer), row.status) << answer;
        // Answers go back with the request's identifying headers, and a To tag of the server.
        EXPECT_NE(header(answer, "Via").find("127.0.0.1:5099"), std::string::npos) << answer;
        EXPECT_FALSE(toTag(answer).empty()) << answer;
        for (const std::string& line : row.linesInAnswer)
            EXPECT_NE(answer.find("\r\n" + line), std::string::npos) << line;
    }
    // Unreadable: the empty datagram; unanswerable: garbage, no headers; OPTIONS: 4 rows and 6 probes.
    json counts = server.stop();
    ASSERT_TRUE(counts.is_object());
    expectCounts(counts, json::parse(R"({"keep_alives": 1, "dropped_by_reason": {"unreadable": 1, "unanswerable": 2},
        "received_responses": {"200": 1}, "requests": {"OPTIONS": 10, "ACK": 1},
        "responses": {"505": 1, "416": 1, "414": 1}})"));
}

// 100 without a tag, 180 and 200 with one same tag, the 200 with an SDP answer after the
// ring time; a retransmitted INVITE gets the final answer again, with the same tag. A
// CANCEL while it rings gets 200, and the INVITE 487 instead of 200.
TEST(KtsipServe, InviteRingsThenAnswersAndCancelEndsIt) {
    Server server({"--ring-ms", "300", "--threads", "3"});
    ASSERT_NE(server.port(), 0u);
    Client udp(server.port(), SOCK_DGRAM);
    const std::string offer = "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=-\r\nc=IN IP4 127.0.0.1\r\nt=0 0\r\n"
                              "m=audio 4000 RTP/AVP 8 0\r\na=rtpmap:8 PCMA/8000\r\n";
    const std::string invite = request("INVITE", "i1", "Contact: <sip:alice@127.0.0.1:5099>\r\nContent-Type: application/sdp\r\n", offer);
    udp.send(invite);
    const std::string trying = udp.receive(), ringing = udp.receive(), ok = udp.receive(1500);
    EXPECT_EQ(statusLine(trying), "SIP/2.0 100 Trying");
    EXPECT_EQ(toTag(trying), "");
    EXPECT_EQ(statusLine(ringing), "SIP/2.0 180 Ringing");
    EXPECT_EQ(statusLine(ok), "SIP/2.0 200 Ok");
    EXPECT_FALSE(toTag(ringing).empty());
    EXPECT_EQ(toTag(ok), toTag(ringing));
    EXPECT_EQ(header(ok, "Content-Type"), "application/sdp");
    EXPECT_NE(ok.find("\r\nm=audio 9 RTP/AVP 8\r\na=rtpmap:8 PCMA/8000\r\n"), std::string::npos) << ok;
    udp.send(request("ACK", "i1"));  // else the 200 is sent again
    udp.send(invite);
    const std::string again = udp.receive();
    EXPECT_EQ(statusLine(again), "SIP/2.0 200 Ok");
    EXPECT_EQ(toTag(again), toTag(ok));

    udp.send(request("INVITE", "i2"));
    EXPECT_EQ(statusLine(udp.receive()), "SIP/2.0 100 Trying");
    const std::string ringing2 = udp.receive();
    EXPECT_EQ(statusLine(ringing2), "SIP/2.0 180 Ringing");
    udp.send(request("CANCEL", "i2"));
    const std::string cancelled = udp.receive(), terminated = udp.receive();
    EXPECT_EQ(statusLine(cancelled), "SIP/2.0 200 Ok");
    EXPECT_NE(header(cancelled, "CSeq").find("CANCEL"), std::string::npos);
    EXPECT_EQ(statusLine(terminated), "SIP/2.0 487 Transaction Cancelled");
    EXPECT_NE(header(terminated, "CSeq").find("INVITE"), std::string::npos);
    EXPECT_EQ(toTag(terminated), toTag(ringing2));
    EXPECT_EQ(udp.receive(600), "");  // no 200 once the ring time has passed
}

// Digest: challenge, accepted credentials, a replayed nonce count, a wrong password, and
// a nonce the server never issued.
TEST(KtsipServe, RegisterIsChallengedUntilCredentialsValidate) {
    Server server({"--user", "alice:secret", "--realm", "test.example", "--threads", "3"});
    ASSERT_NE(server.port(), 0u);
    Client udp(server.port(), SOCK_DGRAM);
    const std::string contact = "Contact: <sip:alice@127.0.0.1:5099>;expires=120\r\n";
    udp.send(request("REGISTER", "r1", contact));
    const std::string challenge = udp.receive();
    ASSERT_EQ(statusLine(challenge), "SIP/2.0 401 Unauthorized");
    const std::string value = header(challenge, "WWW-Authenticate");
    EXPECT_NE(value.find("realm=\"test.example\""), std::string::npos) << value;
    EXPECT_NE(value.find("qop=\"auth\""), std::string::npos) << value;

    auto authorization = [&](const std::string& password, int nc, const std::string& challengeValue) {
        KtHandle<KtSipDigestChallengeInfo> c = KtSipChallengeInfo::sConstructFromValue(challengeValue.c_str())
                                                   .dynamicCast<KtSipDigestChallengeInfo>();
        KtHandle<KtSipDigestCredentialsInfo> credentials(new KtSipDigestCredentialsInfo(c, "alice", password.c_str()));
        credentials->setMethod("REGISTER");
        credentials->setUri("sip:bob@127.0.0.1");
        credentials->setQop("auth", "0a4f113b", nc);
        return "Authorization: Digest " + kttest::written(*credentials) + "\r\n";
    };
    struct Row { const char* name; std::string password; int nc; std::string challenge, status; };
    const std::string forged = "Digest realm=\"test.example\",nonce=\"0123456789abcdef\",qop=\"auth\"";
    const std::vector<Row> rows = {
        {"right password", "secret", 1, value, "SIP/2.0 200 Ok"},
        {"same nonce count again", "secret", 1, value, "SIP/2.0 401 Unauthorized"},
        {"next nonce count", "secret", 2, value, "SIP/2.0 200 Ok"},
        {"wrong password", "guess", 3, value, "SIP/2.0 403 Forbidden"},
        {"nonce never issued", "secret", 1, forged, "SIP/2.0 401 Unauthorized"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        udp.send(request("REGISTER", "r1", contact + authorization(row.password, row.nc, row.challenge)));
        const std::string answer = udp.receive();
        EXPECT_EQ(statusLine(answer), row.status) << answer;
        if (row.status.find(" 200 ") != std::string::npos) {
            EXPECT_EQ(header(answer, "Contact"), "<sip:alice@127.0.0.1:5099>;expires=120");
            EXPECT_EQ(header(answer, "Expires"), "120");
        }
        if (row.status.find(" 401 ") != std::string::npos) {
            EXPECT_NE(header(answer, "WWW-Authenticate").find("stale=true"), std::string::npos) << answer;
        }
    }
}

// Framing by Content-Length on one TCP connection.
TEST(KtsipServe, TcpFramesMessagesByContentLength) {
    Server server({"--transport", "tcp", "--threads", "3"});
    ASSERT_NE(server.port(), 0u);
    {
        SCOPED_TRACE("two messages in one write");
        Client tcp(server.port(), SOCK_STREAM);
        ASSERT_TRUE(tcp.connected());
        tcp.send(request("MESSAGE", "t1", "Content-Type: text/plain\r\n", "one") + request("OPTIONS", "t2"));
        const std::string answers = tcp.receive(2, 2000);
        ASSERT_EQ(Client::messages(answers), 2) << answers;
        EXPECT_LT(answers.find("Call-ID: t1"), answers.find("Call-ID: t2"));
    }
    {
        SCOPED_TRACE("one message in two writes, split inside the header section and inside the body");
        for (std::size_t split : {std::size_t(20), std::size_t(0)}) {
            Client tcp(server.port(), SOCK_STREAM);
            const std::string message = request("MESSAGE", "t3", "Content-Type: text/plain\r\n", "a body of some length");
            if (split == 0) split = message.size() - 5;
            tcp.send(message.substr(0, split));
            EXPECT_EQ(tcp.receive(1, 300), "");  // nothing before the message is complete
            tcp.send(message.substr(split));
            const std::string answer = tcp.receive(1, 2000);
            EXPECT_EQ(statusLine(answer), "SIP/2.0 200 Ok");
            EXPECT_EQ(Client::messages(answer), 1);
        }
    }
    {
        SCOPED_TRACE("keep-alive, then a message without Content-Length: 400, and the stream is closed");
        Client tcp(server.port(), SOCK_STREAM);
        tcp.send("\r\n\r\n");
        EXPECT_EQ(tcp.raw(300), "\r\n");
        std::string bare = request("OPTIONS", "t4");
        bare.erase(bare.find("Content-Length: 0\r\n"), 19);
        tcp.send(bare + request("OPTIONS", "t5"));
        const std::string answers = tcp.receive(2, 1000);
        EXPECT_EQ(statusLine(answers), "SIP/2.0 400 Bad Request") << answers;
        EXPECT_EQ(Client::messages(answers), 1) << answers;
        EXPECT_TRUE(tcp.closedBy(2000));
    }
    {
        SCOPED_TRACE("a header section larger than the connection's buffer");
        Client tcp(server.port(), SOCK_STREAM);
        tcp.send("OPTIONS sip:bob@127.0.0.1 SIP/2.0\r\nX-Filler: " + std::string(70000, 'x'));
        EXPECT_TRUE(tcp.closedBy(2000));
    }
    json counts = server.stop();
    ASSERT_TRUE(counts.is_object());
    expectCounts(counts, {{"dropped_by_reason", {{"too-large", 1}, {"no-content-length", 1}}}, {"keep_alives", 1}, {"connections", 5}});
}

TEST(KtsipServe, RefusesBadOptionsAndBusyPorts) {
    auto run = [](const std::string& args) {
        const int status = std::system((std::string(KTSIP_TOOL_PATH) + " serve " + args + " >/dev/null 2>&1").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    // Bad arguments are usage errors.
    for (const char* args : {"--port 70000", "--transport sctp", "--user nocolon", "--threads 0", "--bind localhost",
                             "--ring-ms x", "extra-operand", "--max-connections 0", "--message-timeout x",
                             "--max-connections-per-address -1"}) {
        EXPECT_EQ(run(args), 2) << args;
    }
    // A port that another socket holds is a failure of the run.
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in local = loopback(0);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof(local)), 0);
    socklen_t length = sizeof(local);
    getsockname(fd, reinterpret_cast<sockaddr*>(&local), &length);
    EXPECT_EQ(run("--transport udp --port " + std::to_string(ntohs(local.sin_port))), 1);
    close(fd);
}
