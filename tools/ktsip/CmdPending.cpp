// Subcommands whose library parts are still being built.
#include "Commands.h"

int cmd::derive(const std::vector<std::string>&) { throw cli::UsageError("derive is not available yet"); }
int cmd::serve(const std::vector<std::string>&) { throw cli::UsageError("serve is not available yet"); }
