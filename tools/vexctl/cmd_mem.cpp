// vexctl mem: read, write and dump the controller's non-volatile memories
// (battery-backed SRAM, the EEPROM, the timekeeping chip's RAM) through the
// library's vex_ReadMemory / vex_WriteMemory.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_mem {

using vex::tools::error_text;
using vex::tools::parse_number;
using vex::tools::fail;
using vex::tools::kExitFailed;
using vex::tools::kExitUsage;
using vex::tools::Json;
using vex::tools::json_output;

struct Kind {
    const char* name;
    uint32_t type;
    uint32_t chunk;   // bytes per call, so that progress can be shown
    uint32_t usable;  // bytes of the user area that can be reached
};
constexpr Kind kKinds[] = {
    {"sram", VEX_MEMORY_SRAM, 4096, 0x70000},
    {"eeprom", VEX_MEMORY_EEPROM, 256, 8192},
    {"nvram", VEX_MEMORY_NVRAM, 30, 30},  // byte 30 cannot be reached
};

const Kind& parse_kind(const std::string& text) {
    for (const Kind& k : kKinds) {
        if (text == k.name) return k;
    }
    fail(kExitUsage, "memory must be sram, eeprom or nvram, not '" + text + "'");
}

std::vector<uint8_t> parse_hex(const std::string& text) {
    std::string digits;
    for (char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)))
            digits += c;
        else if (c != ' ' && c != ':' && c != '-')
            fail(kExitUsage, "DATA must be hexadecimal bytes (e.g. DEADBEEF or de:ad:be:ef), not '" + text + "'");
    }
    if (digits.empty() || digits.size() % 2) fail(kExitUsage, "DATA must be whole bytes: an even number of hex digits");
    std::vector<uint8_t> out;
    for (size_t i = 0; i < digits.size(); i += 2)
        out.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return out;
}

class Progress {
public:
    Progress(uint64_t total, bool shown) : total_(total), shown_(shown) {}
    void update(uint64_t done) {
        if (!shown_) return;
        const int width = 30;
        const int filled = total_ ? static_cast<int>(done * width / total_) : width;
        std::fprintf(stderr, "\r[%.*s%.*s] %3d%%  %llu / %llu bytes", filled, "##############################",
                     width - filled, "..............................",
                     total_ ? static_cast<int>(done * 100 / total_) : 100, static_cast<unsigned long long>(done),
                     static_cast<unsigned long long>(total_));
        if (done >= total_) std::fputc('\n', stderr);
        std::fflush(stderr);
    }

private:
    uint64_t total_;
    bool shown_;
};

bool show_progress(bool forced, bool quiet, uint32_t length, uint32_t chunk) {
    if (quiet) return false;
    return forced || (::isatty(2) && length > chunk);
}

// Moves the bytes in chunks; "" or what went wrong (`code`: the library's).
uint32_t g_code = 0;
std::string transfer(const Kind& k, uint32_t address, uint8_t* read_into, const uint8_t* write_from,
                     uint32_t length, bool progress_shown) {
    Progress progress(length, progress_shown);
    uint32_t done = 0;
    do {
        const uint32_t n = std::min(k.chunk, length - done);
        vex_ClearLastError();
        const VEX_BOOL ok = read_into ? vex_ReadMemory(address + done, read_into + done, n, k.type)
                                      : vex_WriteMemory(address + done, write_from + done, n, k.type);
        if (!ok) {
            if (progress_shown) std::fputc('\n', stderr);
            char where[96];
            std::snprintf(where, sizeof where, "%s %s at 0x%X: ", read_into ? "reading" : "writing", k.name,
                          address + done);
            const uint32_t code = vex_GetLastError();
            g_code = code;
            return where + error_text(code) +
                   (code == VEX_ERR_EEPROM_WRITE_PROTECTED ? " (give --unprotect, or: vexctl mem protect off)" : "");
        }
        done += n;
        progress.update(done);
    } while (done < length);
    return "";
}

void hex_dump(uint32_t address, const std::vector<uint8_t>& data) {
    for (size_t row = 0; row < data.size(); row += 16) {
        std::printf("%08zX ", address + row);
        for (size_t i = row; i < row + 16; ++i) {
            if (i < data.size())
                std::printf(" %02x", data[i]);
            else
                std::printf("   ");
        }
        std::printf("  |");
        for (size_t i = row; i < row + 16 && i < data.size(); ++i)
            std::putchar(std::isprint(data[i]) ? data[i] : '.');
        std::printf("|\n");
    }
}

std::vector<uint8_t> read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail(kExitFailed, "cannot read " + path + ": " + std::strerror(errno));
    std::vector<uint8_t> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (data.empty()) fail(kExitUsage, path + " is empty: nothing to write");
    if (data.size() > 0x1000000) fail(kExitUsage, path + " is larger than any memory of the controller");
    return data;
}

// A transfer that failed: the library's code goes into the JSON error.
[[noreturn]] void fail_transfer(const std::string& message) {
    if (json_output()) {
        Json j;
        j.open_object();
        vex::tools::add_error(j, kExitFailed, message, &g_code);
        j.close().print();
    }
    vex::tools::fail_after_json(kExitFailed, message);
}

// {memory, address, length} and what `more` adds, for --json.
void print_result(const Kind& k, uint32_t address, uint32_t length, const std::function<void(Json&)>& more) {
    Json j;
    j.open_object().field("memory", k.name).field("address", address).field("length", length);
    more(j);
    j.close().print();
}

std::string hex_string(const std::vector<uint8_t>& data) {
    std::string out;
    char b[4];
    for (uint8_t v : data) {
        std::snprintf(b, sizeof b, "%02x", v);
        out += b;
    }
    return out;
}

// Written aside and renamed, so FILE is either the whole dump or untouched.
void write_file(const std::string& path, const std::vector<uint8_t>& data) {
    const std::string aside = path + ".part";
    {
        std::ofstream out(aside, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
        if (!out) fail(kExitFailed, "cannot write " + aside + ": " + std::strerror(errno));
    }
    if (std::rename(aside.c_str(), path.c_str()) != 0) fail(kExitFailed, "cannot rename " + aside + " to " + path);
}

struct Options {
    std::string kind, address, length, data, file, target;
    bool unprotect = false, progress = false, quiet = false;
};

}  // namespace vexctl_cmd_mem
}  // namespace

void register_mem_commands(CLI::App& app) {
    using namespace vexctl_cmd_mem;
    static Options o;
    CLI::App* mem = app.add_subcommand(
        "mem", "Read and write the non-volatile memories: sram, eeprom, nvram\n"
               "Addresses are the library's: the user area from 0, the system areas at\n"
               "0x1000000 (SRAM) and 0x20000 (EEPROM; the factory record is at 0x23800).");
    mem->footer("With --json: read, write and dump print {memory, address, length} and, for read, data (the\n"
                "bytes as lower-case hex), for dump, file; size prints {sram, eeprom, nvram} in bytes.");
    mem->require_subcommand(1);

    CLI::App* read = mem->add_subcommand("read", "Print LEN bytes from ADDR as a hex dump");
    read->add_option("memory", o.kind, "sram, eeprom or nvram")->required();
    read->add_option("address", o.address, "Address")->required();
    read->add_option("length", o.length, "Bytes")->required();
    read->add_flag("--progress", o.progress, "Show progress even when not on a terminal");
    read->callback([] {
        const Kind& k = parse_kind(o.kind);
        const uint32_t address = parse_number(o.address, "ADDR");
        const uint32_t length = parse_number(o.length, "LEN");
        if (length == 0 || length > 0x1000000) fail(kExitUsage, "LEN must be 1 to 0x1000000");
        std::vector<uint8_t> data(length);
        const std::string error =
            transfer(k, address, data.data(), nullptr, length, show_progress(o.progress, false, length, k.chunk));
        if (!error.empty()) fail_transfer(error);
        if (json_output())
            print_result(k, address, length, [&](Json& j) { j.field("data", hex_string(data)); });
        else
            hex_dump(address, data);
        std::exit(0);
    });

    CLI::App* write = mem->add_subcommand("write", "Write hex DATA, or the bytes of --file, at ADDR");
    write->add_option("memory", o.kind, "sram, eeprom or nvram")->required();
    write->add_option("address", o.address, "Address")->required();
    write->add_option("data", o.data, "Bytes in hex, e.g. DEADBEEF");
    write->add_option("--file", o.file, "Write the bytes of this file instead");
    write->add_flag("--unprotect", o.unprotect, "EEPROM: switch write protect off for the write, on again after");
    write->add_flag("--progress", o.progress, "Show progress even when not on a terminal");
    write->callback([] {
        const Kind& k = parse_kind(o.kind);
        const uint32_t address = parse_number(o.address, "ADDR");
        if (o.data.empty() == o.file.empty()) fail(kExitUsage, "give either DATA or --file");
        const std::vector<uint8_t> data = o.file.empty() ? parse_hex(o.data) : read_file(o.file);
        const auto length = static_cast<uint32_t>(data.size());
        if (o.unprotect) vex_EnableEEPROM(VEX_TRUE);
        const std::string error =
            transfer(k, address, nullptr, data.data(), length, show_progress(o.progress, false, length, k.chunk));
        if (o.unprotect) vex_EnableEEPROM(VEX_FALSE);
        if (!error.empty()) fail_transfer(error);
        if (json_output())
            print_result(k, address, length, [](Json&) {});
        else
            std::printf("wrote %u bytes to %s at 0x%X\n", length, k.name, address);
        std::exit(0);
    });

    CLI::App* dump = mem->add_subcommand("dump", "Copy a memory into FILE (the whole user area unless told)");
    dump->add_option("memory", o.kind, "sram, eeprom or nvram")->required();
    dump->add_option("file", o.target, "File to write")->required();
    dump->add_option("--from", o.address, "First address (default 0)");
    dump->add_option("--length", o.length, "Bytes (default: to the end of the user area)");
    dump->add_flag("--progress", o.progress, "Show progress even when not on a terminal");
    dump->add_flag("-q,--quiet", o.quiet, "No progress bar");
    dump->callback([] {
        const Kind& k = parse_kind(o.kind);
        const uint32_t from = o.address.empty() ? 0 : parse_number(o.address, "--from");
        uint32_t length = 0;
        if (!o.length.empty()) {
            length = parse_number(o.length, "--length");
        } else if (from < k.usable) {
            length = k.usable - from;
        }
        if (k.type == VEX_MEMORY_SRAM && vex_GetMemorySize(VEX_MEMORY_SRAM) == 0)
            fail(kExitFailed, "this controller has no SRAM");
        if (length == 0) fail(kExitUsage, "nothing to dump: give --length");
        std::vector<uint8_t> data(length);
        const std::string error =
            transfer(k, from, data.data(), nullptr, length, show_progress(o.progress, o.quiet, length, k.chunk));
        if (!error.empty()) fail_transfer(error + " (" + o.target + " left as it was)");
        write_file(o.target, data);
        if (json_output())
            print_result(k, from, length, [&](Json& j) { j.field("file", o.target); });
        else
            std::printf("dumped %u bytes of %s from 0x%X into %s\n", length, k.name, from, o.target.c_str());
        std::exit(0);
    });

    static std::string state;
    CLI::App* protect = mem->add_subcommand("protect", "Switch the EEPROM's write protect on or off");
    protect->add_option("state", state, "on or off")->required();
    protect->callback([] {
        if (state != "on" && state != "off") fail(kExitUsage, "state must be on or off, not '" + state + "'");
        vex_EnableEEPROM(state == "off" ? VEX_TRUE : VEX_FALSE);
        std::exit(0);
    });

    CLI::App* size = mem->add_subcommand("size", "Print the size of each memory's user area");
    size->callback([] {
        if (json_output()) {
            Json j;
            j.open_object();
            for (const Kind& k : kKinds) j.field(k.name, vex_GetMemorySize(k.type));
            j.close().print();
        } else {
            for (const Kind& k : kKinds) std::printf("%-7s %u bytes\n", k.name, vex_GetMemorySize(k.type));
        }
        std::exit(0);
    });
}
