// ktsip serve: a stateless user agent server over UDP and TCP, for trying the library
// against real SIP peers.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "Commands.h"
#include "KtErrorStream.h"
#include "ServeCommon.h"
#include "ServeLibraryLog.h"
#include "ServeServer.h"
#include "ServeUas.h"

namespace {

unsigned number(const cli::Args& a, const char* option, unsigned fallback, unsigned low, unsigned high) {
    if (!a.hasValue(option)) return fallback;
    const std::string text = a.value(option);
    char* end = nullptr;
    const unsigned long v = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || text[0] == '-' || v < low || v > high)
        throw cli::UsageError(std::string(option) + " takes a number from " + std::to_string(low) + " to " +
                              std::to_string(high));
    return static_cast<unsigned>(v);
}

// The library's error lines become log lines of the server (or are only counted with --quiet).
void librarySink(void* context, const char* line, unsigned length) {
    static_cast<serve::LibraryLog*>(context)->line(line, length);
}

// The options of the server's limits.
const std::vector<std::string> kLimitOptions = {"--max-connections", "--max-connections-per-address",
                                                "--idle-timeout", "--message-timeout", "--nonce-lifetime"};

void readLimits(const cli::Args& a, serve::Config& config) {
    config.maxConnections = number(a, "--max-connections", config.maxConnections, 1, 1000000);
    config.maxConnectionsPerAddress =
        number(a, "--max-connections-per-address", config.maxConnectionsPerAddress, 1, 1000000);
    config.idleTimeout = number(a, "--idle-timeout", config.idleTimeout, 1, 86400);
    config.messageTimeout = number(a, "--message-timeout", config.messageTimeout, 1, 3600);
    config.nonceLifetime = number(a, "--nonce-lifetime", config.nonceLifetime, 1, 86400);
}

}  // namespace

int cmd::serve(const std::vector<std::string>& args) {
    std::vector<std::string> valued = {"--bind",    "--port",    "--transport", "--realm",
                                       "--user",    "--threads", "--ring-ms"};
    valued.insert(valued.end(), kLimitOptions.begin(), kLimitOptions.end());
    cli::Args a(args, {"--quiet", "--json"}, valued);
    if (!a.operands().empty()) throw cli::UsageError("serve takes no operands");
    serve::Config config;
    config.bind = a.value("--bind", config.bind);
    config.port = number(a, "--port", config.port, 0, 65535);
    config.threads = number(a, "--threads", config.threads, 1, 64);
    config.ringMs = number(a, "--ring-ms", config.ringMs, 0, 60000);
    config.realm = a.value("--realm", config.realm);
    config.quiet = a.has("--quiet");
    config.json = a.has("--json");
    readLimits(a, config);
    {
        std::string host = config.bind;
        if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
        in6_addr address;
        if (inet_pton(AF_INET, host.c_str(), &address) != 1 && inet_pton(AF_INET6, host.c_str(), &address) != 1)
            throw cli::UsageError("--bind takes a numeric IPv4 or IPv6 address");
    }
    const std::string transport = a.value("--transport", "both");
    if (transport == "udp")
        config.tcp = false;
    else if (transport == "tcp")
        config.udp = false;
    else if (transport != "both")
        throw cli::UsageError("--transport takes udp, tcp or both");
    if (config.realm.empty() || config.realm.find('"') != std::string::npos)
        throw cli::UsageError("--realm takes a non-empty text without double quotes");
    for (const std::string& user : a.values("--user")) {
        const std::size_t colon = user.find(':');
        if (colon == 0 || colon == std::string::npos) throw cli::UsageError("--user takes NAME:SECRET");
        config.users[user.substr(0, colon)] = user.substr(colon + 1);
    }

    // SIGINT and SIGTERM are taken by sigwait below: block them before any thread starts,
    // so that every thread inherits the mask. A peer closing its connection must not kill
    // the process either.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    signal(SIGPIPE, SIG_IGN);

    serve::setLogging(!config.quiet);
    serve::Counters counters;
    serve::LibraryLog libraryLog(counters, !config.quiet);
    KtErrorStream::sSetSink(&librarySink, &libraryLog);
    {
        serve::Server server(config, counters);
        try {
            server.open();
        } catch (const std::runtime_error& e) {
            KtErrorStream::sSetSink(nullptr, nullptr);
            std::cerr << "ktsip serve: " << e.what() << "\n";
            return 1;
        }
        std::string transports = config.udp && config.tcp ? "udp, tcp" : config.udp ? "udp" : "tcp";
        std::string host = config.bind.find(':') != std::string::npos && config.bind[0] != '[' ? "[" + config.bind + "]"
                                                                                            : config.bind;
        std::cerr << "ktsip serve: listening on " << host << ":" << server.port() << " (" << transports << ", "
                  << config.threads << (config.threads == 1 ? " thread" : " threads") << ", "
                  << (config.users.empty() ? std::string("no authentication")
                                           : "realm \"" + config.realm + "\" with " + std::to_string(config.users.size()) +
                                                 (config.users.size() == 1 ? " user" : " users"))
                  << ")" << std::endl;
        serve::Uas uas(config, counters, server, libraryLog);
        server.start(uas);
        int signalNumber = 0;
        while (sigwait(&stopSignals, &signalNumber) != 0) {
        }
        server.stop();
        std::cerr << "ktsip serve: stopping on " << (signalNumber == SIGINT ? "SIGINT" : "SIGTERM") << std::endl;
    }
    KtErrorStream::sSetSink(nullptr, nullptr);
    libraryLog.flush();
    if (config.json)
        std::cout << counters.toJson().dump() << std::endl;
    else
        counters.print(std::cout);
    std::cout.flush();
    return 0;
}
