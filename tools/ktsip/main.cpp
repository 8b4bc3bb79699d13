// ktsip: the command line face of the SIP library.
#include <cstring>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "Commands.h"

namespace {

const char* kUsage =
    "usage: ktsip [--log-level LEVEL] COMMAND [OPTIONS] [OPERANDS]\n"
    "commands:\n"
    "  parse   [--json] [--crlf] [FILE]            parse one message\n"
    "  header  [--json] LINE                       parse one header line\n"
    "  uri     [--json] [--bracket] TEXT           parse a URI\n"
    "  address [--json] TEXT                       parse a name-address\n"
    "  reason  [--json] CODE...                    default reason phrases\n"
    "  derive  [--json] [--crlf] KIND [CODE] [--body TEXT --type MEDIA] [FILE]\n"
    "  digest  [--json] --challenge VALUE --user NAME --password SECRET --method M --uri URI ...\n"
    "  serve   [--bind ADDR] [--port N] [--transport udp|tcp|both] [--realm R] [--user NAME:SECRET]...\n"
    "          [--threads N] [--ring-ms N] [--quiet] [--json]\n"
    "  scan    [--json] [--filter EXPR] [--port N]... [FILE]   SIP messages of a packet capture\n"
    "options: --log-level trace|debug|info|warn|error|off (default off) sends the library's logs to stderr\n";

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    try {
        // --log-level may stand before the command or among the command's options.
        std::string level = "off";
        std::vector<std::string> rest;
        for (std::size_t i = 0; i < args.size(); ++i) {
            if (args[i] == "--") {
                rest.insert(rest.end(), args.begin() + static_cast<long>(i), args.end());
                break;
            }
            if (args[i] == "--log-level") {
                if (i + 1 >= args.size()) throw cli::UsageError("option --log-level needs a value");
                level = args[++i];
                continue;
            }
            rest.push_back(args[i]);
        }
        cli::configureLogging(level);
        if (rest.empty() || rest[0] == "--help" || rest[0] == "-h") {
            std::cout << kUsage;
            return rest.empty() ? 2 : 0;
        }
        static const std::map<std::string, int (*)(const std::vector<std::string>&)> commands = {
            {"parse", &cmd::parse},   {"header", &cmd::header}, {"uri", &cmd::uri},
            {"address", &cmd::address}, {"reason", &cmd::reason}, {"derive", &cmd::derive},
            {"digest", &cmd::digest}, {"serve", &cmd::serve}, {"scan", &cmd::scan}};
        auto it = commands.find(rest[0]);
        if (it == commands.end()) throw cli::UsageError("unknown command " + rest[0]);
        return it->second(std::vector<std::string>(rest.begin() + 1, rest.end()));
    } catch (const cli::UsageError& e) {
        std::cerr << "ktsip: " << e.what() << "\n";
        return 2;
    }
}
