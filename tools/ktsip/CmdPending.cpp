// Subcommands whose library parts are still being built.
#include "Commands.h"

