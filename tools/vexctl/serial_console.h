// What vexctl's serial commands share: the line options (checksum,
// terminator, time-out, trace), opening the port with them, and showing
// bytes that may not be printable.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>

#include "vexsdk.h"

struct LineOptions {
    bool checksum = false;
    std::string terminator = "\\r";
    int64_t timeout = -1;  // -1: the library's default
    bool trace = false;
};

// --checksum, --terminator, --timeout, --trace.
void add_line_options(CLI::App& command, LineOptions& options);
// Opens the port of a configuration string with the options applied
// (exit 2 for bad options, 1 when the port cannot be opened). With
// --trace, every byte the port moves is printed to stderr with its time
// from the open, as "+12.345 ms > 24 30 31 4D 0D  $01M\r".
VEX_PORT open_line(const std::string& config, const LineOptions& options);

// C-style escapes of a terminator: \r \n \t \\ \xHH.
std::string unescape(const std::string& text);
// An answer with control characters shown as \xHH.
std::string printable(const char* text);
std::string printable(const uint8_t* data, size_t size);
