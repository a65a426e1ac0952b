// Placeholder until the digital I/O commands land.
#include "tools/vexctl/commands.h"

void register_io_commands(CLI::App&) {}
