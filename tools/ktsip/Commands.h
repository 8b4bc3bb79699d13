// The ktsip subcommands. Each Cmd*.cpp adds its subcommand, with the options and operands
// it takes, to the tool's CLI::App, and gives back what runs it once they are parsed.
#ifndef KTSIP_TOOL_COMMANDS_H
#define KTSIP_TOOL_COMMANDS_H

#include <functional>
#include <memory>
#include <string>

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

/// The options of a subcommand that reads one text operand: --json and the text.
struct TextOperand {
    bool json = false;
    std::string text;
};

/// Declares the subcommand `name` (`about`) with --json and the required operand `operand`
/// (`operandAbout`) into `command`; the options returned are filled when the line is parsed.
inline std::shared_ptr<TextOperand> addTextCommand(CLI::App& ktsip, CLI::App*& command, const char* name,
                                                   const char* about, const char* operand,
                                                   const char* operandAbout) {
    auto o = std::make_shared<TextOperand>();
    command = ktsip.add_subcommand(name, about);
    addJsonFlag(*command, o->json);
    command->add_option(operand, o->text, operandAbout)->required();
    return o;
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
