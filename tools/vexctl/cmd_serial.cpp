// Placeholder until the serial commands land.
#include "tools/vexctl/commands.h"

void register_serial_commands(CLI::App&) {}
