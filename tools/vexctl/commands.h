// vexctl's command groups; each file registers its own subcommands.
#pragma once

#include <CLI/CLI.hpp>

void register_info_command(CLI::App& app);
void register_reg_command(CLI::App& app);
void register_io_commands(CLI::App& app);      // di, do, wdt
void register_serial_commands(CLI::App& app);  // serial, ports
void register_watchdog_commands(CLI::App& app);  // watchdog
void register_panel_commands(CLI::App& app);     // beep, led, backlight
void register_card_commands(CLI::App& app);      // card
void register_link_commands(CLI::App& app);      // link
void register_module_commands(CLI::App& app);  // module
void register_irq_commands(CLI::App& app);     // irq watch
void register_timer_commands(CLI::App& app);   // timer, hotplug
void register_mem_commands(CLI::App& app);     // mem read/write/dump/protect/size
void register_device_commands(CLI::App& app);  // device, device set-mac
void register_unified_commands(CLI::App& app);  // read, write
