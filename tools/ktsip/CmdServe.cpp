// ktsip serve: a stateless user agent server over UDP and TCP, for trying the library
// against real SIP peers.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>

#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Commands.h"
#include "KtErrorStream.h"
#include "ServeCommon.h"
#include "ServeLibraryLog.h"
#include "ServeServer.h"
#include "ServeUas.h"

namespace {

/// The limit options: name, the field of serve::Config, the range, what it bounds.
struct LimitOption {
    const char* name;
    unsigned serve::Config::*field;
    unsigned low, high;
    const char* what;
};
const LimitOption kLimitOptions[] = {
    {"--max-connections", &serve::Config::maxConnections, 1, 1000000, "open TCP connections at most"},
    {"--max-connections-per-address", &serve::Config::maxConnectionsPerAddress, 1, 1000000,
     "open TCP connections from one peer address at most"},
    {"--idle-timeout", &serve::Config::idleTimeout, 1, 86400, "seconds a connection may stay silent"},
    {"--message-timeout", &serve::Config::messageTimeout, 1, 3600, "seconds for a message to arrive whole"},
    {"--nonce-lifetime", &serve::Config::nonceLifetime, 1, 86400, "seconds a Digest nonce stays valid"}};

/// The options of `serve` as text, starting from the defaults (checked before the server starts).
struct ServeOptions {
    serve::Config defaults;
    std::string bind = defaults.bind, port = std::to_string(defaults.port), transport = "both",
                realm = defaults.realm, threads = std::to_string(defaults.threads),
                ringMs = std::to_string(defaults.ringMs);
    std::vector<std::string> users;
    std::string limits[std::size(kLimitOptions)];
    bool quiet = false;
    bool json = false;
};

unsigned number(const std::string& text, const char* option, unsigned low, unsigned high) {
    return static_cast<unsigned>(cli::decimal(text, option, low, high));
}

int runServe(const ServeOptions& a);

// The library's error lines become log lines of the server (or are only counted with --quiet).
void librarySink(void* context, const char* line, unsigned length) {
    static_cast<serve::LibraryLog*>(context)->line(line, length);
}

}  // namespace

cmd::Command cmd::addServe(CLI::App& ktsip) {
    auto o = std::make_shared<ServeOptions>();
    const serve::Config& defaults = o->defaults;
    CLI::App* serve = ktsip.add_subcommand("serve", "a stateless SIP user agent server over UDP and TCP");
    serve->add_option("--bind", o->bind, "numeric IPv4 or IPv6 address to listen on (default " + defaults.bind + ")")
        ->type_name("ADDR");
    serve->add_option("--port", o->port, "port, 0 for one the system picks (default " +
                                             std::to_string(defaults.port) + ")")->type_name("N");
    serve->add_option("--transport", o->transport, "udp, tcp or both (default both)")->type_name("T");
    serve->add_option("--realm", o->realm, "the Digest realm (default " + defaults.realm + ")")->type_name("R");
    serve->add_option("--user", o->users, "a user REGISTER must authenticate as (repeatable)")
        ->type_name("NAME:SECRET")
        ->allow_extra_args(false);
    serve->add_option("--threads", o->threads, "UDP worker threads, 1 to 64 (default 1)")->type_name("N");
    serve->add_option("--ring-ms", o->ringMs, "ring time of an INVITE before its 200 (default " +
                                                  std::to_string(defaults.ringMs) + ")")->type_name("N");
    for (std::size_t i = 0; i < std::size(kLimitOptions); ++i) {
        const LimitOption& limit = kLimitOptions[i];
        o->limits[i] = std::to_string(defaults.*limit.field);
        const std::string range = std::to_string(limit.low) + " to " + std::to_string(limit.high);
        serve->add_option(limit.name, o->limits[i], std::string(limit.what) + ", " + range + " (default " +
                                                        o->limits[i] + ")")
            ->type_name("N");
    }
    serve->add_flag("--quiet", o->quiet, "count the library's error lines instead of printing them");
    addJsonFlag(*serve, o->json);
    return {serve, [o] { return runServe(*o); }};
}

namespace {

int runServe(const ServeOptions& a) {
    serve::Config config;
    config.bind = a.bind;
    config.port = number(a.port, "--port", 0, 65535);
    config.threads = number(a.threads, "--threads", 1, 64);
    config.ringMs = number(a.ringMs, "--ring-ms", 0, 60000);
    config.realm = a.realm;
    config.quiet = a.quiet;
    config.json = a.json;
    for (std::size_t i = 0; i < std::size(kLimitOptions); ++i)
        config.*kLimitOptions[i].field = number(a.limits[i], kLimitOptions[i].name, kLimitOptions[i].low,
                                                kLimitOptions[i].high);
    {
        std::string host = config.bind;
        if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
        in6_addr address;
        if (inet_pton(AF_INET, host.c_str(), &address) != 1 && inet_pton(AF_INET6, host.c_str(), &address) != 1)
            throw cli::UsageError("--bind takes a numeric IPv4 or IPv6 address");
    }
    const std::string& transport = a.transport;
    if (transport == "udp")
        config.tcp = false;
    else if (transport == "tcp")
        config.udp = false;
    else if (transport != "both")
        throw cli::UsageError("--transport takes udp, tcp or both");
    if (config.realm.empty() || config.realm.find('"') != std::string::npos)
        throw cli::UsageError("--realm takes a non-empty text without double quotes");
    for (const std::string& user : a.users) {
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

}  // namespace
