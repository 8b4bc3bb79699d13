// ktsip: the command line face of the SIP library.
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"

namespace {

// A usage error as the one line the tool prints for it.
int usageError(const std::string& text) {
    std::string line = text;
    for (char& c : line)
        if (c == '\n' || c == '\r') c = ' ';
    std::cerr << "ktsip: " << line << "\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Shows what the SIP library makes of SIP text, builds derived messages, computes Digest "
                 "answers and serves SIP.",
                 "ktsip");
    app.require_subcommand(0, 1);
    // --log-level is the tool's own option; the subcommands pass it up, so it may stand
    // anywhere before "--".
    app.fallthrough();
    std::string level = "off";
    app.add_option("--log-level", level, "send the library's logs to standard error (default off)")
        ->check(CLI::IsMember({"trace", "debug", "info", "warn", "error", "off"}))
        ->type_name("LEVEL");
    const std::vector<cmd::Command> commands = {cmd::addParse(app),  cmd::addHeader(app), cmd::addUri(app),
                                                cmd::addAddress(app), cmd::addReason(app), cmd::addDerive(app),
                                                cmd::addDigest(app),  cmd::addServe(app),  cmd::addScan(app)};
    app.footer("Exit status: 0 success, 1 the library threw, 2 a usage error.\n"
               "ktsip COMMAND --help shows the options of each command.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0) return app.exit(e);  // --help
        // A first word that is neither an option nor a command.
        const std::vector<std::string> rest = app.remaining();
        const bool noCommand = std::none_of(commands.begin(), commands.end(),
                                            [](const cmd::Command& c) { return c.app->parsed(); });
        if (dynamic_cast<const CLI::ExtrasError*>(&e) && noCommand && !rest.empty() && rest[0][0] != '-')
            return usageError("unknown command " + rest[0]);
        return usageError(e.what());
    }
    try {
        cli::configureLogging(level);
        for (const cmd::Command& command : commands)
            if (command.app->parsed()) return command.run();
    } catch (const cli::UsageError& e) {
        return usageError(e.what());
    }
    return usageError("a COMMAND is required (ktsip --help lists them)");
}
