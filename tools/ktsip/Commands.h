// The ktsip subcommands; each takes the words after its name and returns the exit status.
#ifndef KTSIP_TOOL_COMMANDS_H
#define KTSIP_TOOL_COMMANDS_H

#include <string>
#include <vector>

#include "CliSupport.h"

class JsonWriter;
class KtSipMessage;

namespace cmd {
int parse(const std::vector<std::string>& args);
int header(const std::vector<std::string>& args);
int uri(const std::vector<std::string>& args);
int address(const std::vector<std::string>& args);
int reason(const std::vector<std::string>& args);
int derive(const std::vector<std::string>& args);
int digest(const std::vector<std::string>& args);
int serve(const std::vector<std::string>& args);
int scan(const std::vector<std::string>& args);

/// Writes the members of the JSON description of a message (the object of `parse --json`,
/// without "log") into the object `out` has open.
void writeMessage(JsonWriter& out, const KtSipMessage& message);
/// That description as a JSON object.
cli::json messageJson(const KtSipMessage& message);
/// Readable form of that object.
void printMessage(const cli::json& object);
}  // namespace cmd

#endif
