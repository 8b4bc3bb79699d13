// The ktsip subcommands. Each Cmd*.cpp adds its subcommand, with the options and operands
// it takes, to the tool's CLI::App, and gives back what runs it once they are parsed.
#ifndef KTSIP_TOOL_COMMANDS_H
#define KTSIP_TOOL_COMMANDS_H

#include <functional>

#include "CliSupport.h"

class JsonWriter;
class KtSipMessage;

namespace cmd {

/// A declared subcommand and the function that runs it (returning the exit status).
struct Command {
    CLI::App* app;
    std::function<int()> run;
};

Command addParse(CLI::App& ktsip);
Command addHeader(CLI::App& ktsip);
Command addUri(CLI::App& ktsip);
Command addAddress(CLI::App& ktsip);
Command addReason(CLI::App& ktsip);
Command addDerive(CLI::App& ktsip);
Command addDigest(CLI::App& ktsip);
Command addServe(CLI::App& ktsip);
Command addScan(CLI::App& ktsip);

/// The --json flag every subcommand has.
inline void addJsonFlag(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "print one JSON object instead of readable lines");
}

/// Writes the members of the JSON description of a message (the object of `parse --json`,
/// without "log") into the object `out` has open.
void writeMessage(JsonWriter& out, const KtSipMessage& message);
/// That description as a JSON object.
cli::json messageJson(const KtSipMessage& message);
/// Readable form of that object.
void printMessage(const cli::json& object);
}  // namespace cmd

#endif
