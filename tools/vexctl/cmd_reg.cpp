// vexctl reg: read, write, list and delete registry keys and values of the
// target, through the same exports applications use.
//
//   vexctl reg get PATH [--raw]           print a value (strings escaped)
//   vexctl reg set PATH VALUE [--dword]   store a string (or a number)
//   vexctl reg ls KEYPATH                 list subkeys, then values
//   vexctl reg rm PATH [--key]            delete a value (or a whole key)
//
// PATH is "ROOT\key\...\name", e.g. HKEY_LOCAL_MACHINE\VORLAN\RunningMode
// (quote it in the shell: backslashes).
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/text_codec.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_reg {

const char* describe(uint32_t code) {
    switch (code) {
    case VEX_REG_SUCCESS: return "success";
    case VEX_REG_FILE_NOT_FOUND: return "the key or value does not exist";
    case VEX_REG_ACCESS_DENIED: return "access denied (the store cannot be written, or a root cannot be deleted)";
    case VEX_REG_INVALID_HANDLE: return "the path names no root (HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, "
                                        "HKEY_CLASSES_ROOT or HKEY_USERS)";
    case VEX_REG_OUTOFMEMORY: return "out of memory";
    case VEX_REG_INVALID_PARAMETER: return "invalid path (empty key name)";
    case VEX_REG_MORE_DATA: return "the value is too long to read";
    case VEX_REG_NO_MORE_ITEMS: return "no more items";
    case VEX_REG_IO_FAILED: return "the registry store could not be read or written";
    case VEX_REG_UNSUPPORTED_TYPE: return "the value has another type";
    default: return "unexpected result";
    }
}

[[noreturn]] void fail(const std::string& what, uint32_t code) {
    std::fprintf(stderr, "vexctl reg: %s: error %u: %s\n", what.c_str(), code, describe(code));
    throw CLI::RuntimeError(1);
}

std::wstring wide(const std::string& text) { return vex::plat::from_utf8(text); }
std::string narrow(const wchar_t* text) { return vex::plat::to_utf8(text); }

// Parses a 32-bit number: decimal, or hexadecimal after 0x.
bool parse_dword(const std::string& text, uint32_t& out) {
    if (text.empty() || text[0] == '-' || text[0] == '+' || text[0] == ' ') return false;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char* digits = text.c_str() + (hex ? 2 : 0);
    if (*digits == '\0' || *digits == ' ' || *digits == '-' || *digits == '+') return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long long v = std::strtoull(digits, &end, hex ? 16 : 10);
    if (errno != 0 || *end != '\0' || v > 0xFFFFFFFFull) return false;
    out = static_cast<uint32_t>(v);
    return true;
}

enum class Shown { Printed, OtherType, Failed };

struct Value {
    Shown shown = Shown::Failed;
    bool number = false;
    std::string text;   // REG_SZ, as UTF-8
    uint32_t dword = 0; // REG_DWORD
};

// Reads one value: a string first, then a number.
Value read_value(const std::wstring& path, uint32_t& error) {
    Value v;
    wchar_t text[1024];
    if (vex_RegGetString(path.c_str(), text, sizeof text)) {
        v.shown = Shown::Printed;
        v.text = narrow(text);
        return v;
    }
    error = vex_GetLastError();
    if (error != VEX_REG_UNSUPPORTED_TYPE) return v;
    const uint32_t number = vex_RegGetDWORD(path.c_str());
    error = vex_GetLastError();
    if (error == VEX_REG_SUCCESS) {
        v.shown = Shown::Printed;
        v.number = true;
        v.dword = number;
        return v;
    }
    if (error == VEX_REG_UNSUPPORTED_TYPE) v.shown = Shown::OtherType;
    return v;
}

bool g_raw = false;  // reg get --raw: the string as stored, no quotes or escapes

// "TYPE data"; a string is quoted with its control characters, quotes and
// backslashes escaped, so what a terminal shows is what is stored.
void print_value(const Value& v) {
    if (v.shown == Shown::OtherType) {
        std::printf("(a type vexctl cannot show)\n");
    } else if (v.number) {
        std::printf("REG_DWORD  %u (0x%08X)\n", v.dword, v.dword);
    } else if (g_raw) {
        std::fwrite(v.text.data(), 1, v.text.size(), stdout);
        std::fputc('\n', stdout);
    } else {
        std::printf("REG_SZ     \"%s\"\n", vex::tools::escape_text(v.text).c_str());
    }
}

void json_value(vex::tools::Json& j, const Value& v) {
    if (v.shown == Shown::OtherType)
        j.key("type").null().key("value").null();
    else if (v.number)
        j.field("type", "REG_DWORD").field("value", v.dword);
    else
        j.field("type", "REG_SZ").field("value", v.text);
}

void run_get(const std::string& path) {
    uint32_t error = 0;
    const Value v = read_value(wide(path), error);
    if (v.shown == Shown::Failed) {
        if (error == VEX_REG_FILE_NOT_FOUND && vex_RegGetKeyInfo(wide(path).c_str()) == VEX_REG_INFO_KEY)
            std::fprintf(stderr, "vexctl reg: %s is a key; list it with 'vexctl reg ls'\n", path.c_str());
        fail("get " + path, error);
    }
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().field("path", path);
        json_value(j, v);
        j.close().print();
        return;
    }
    print_value(v);
}

void run_set(const std::string& path, const std::string& value, bool dword) {
    const std::wstring p = wide(path);
    VEX_BOOL done;
    if (dword) {
        uint32_t number = 0;
        if (!parse_dword(value, number)) {
            std::fprintf(stderr, "vexctl reg: '%s' is not a 32-bit number (decimal or 0x hex)\n", value.c_str());
            throw CLI::RuntimeError(2);
        }
        done = vex_RegSetDWORD(p.c_str(), number);
    } else {
        const std::wstring w = wide(value);
        done = vex_RegSetString(p.c_str(), w.c_str(), static_cast<uint32_t>(w.size() * sizeof(wchar_t)));
    }
    if (!done) fail("set " + path, vex_GetLastError());
    // A person changing a setting expects it to survive a power cut.
    if (!vex_RegSave(p.c_str())) std::fprintf(stderr, "vexctl reg: warning: the change is not yet on storage\n");
}

void run_ls(std::string path) {
    while (path.size() > 1 && path.back() == '\\') path.pop_back();
    const std::wstring key = wide(path);
    vex_RegCountKey(key.c_str());  // tells whether the key exists at all
    if (const uint32_t error = vex_GetLastError()) fail("ls " + path, error);

    const bool json = vex::tools::json_output();
    vex::tools::Json j;
    if (json) j.open_object().field("key", path).key("subkeys").open_array();
    wchar_t name[VEX_REG_NAME_SIZE];
    for (uint32_t i = 0; vex_RegGetKeyByIndex(key.c_str(), i, name); ++i) {
        if (json)
            j.value(narrow(name));
        else
            std::printf("%-40s [key]\n", vex::tools::escape_text(narrow(name) + "\\").c_str());
    }
    if (json) j.close().key("values").open_array();
    for (uint32_t i = 0; vex_RegGetValueByIndex(key.c_str(), i, name); ++i) {
        uint32_t error = 0;
        const Value v = read_value(key + L"\\" + name, error);
        if (json) {
            j.open_object().field("name", narrow(name));
            if (v.shown == Shown::Failed)
                j.key("type").null().key("value").null().field("error", error);
            else
                json_value(j, v);
            j.close();
            continue;
        }
        const std::string shown = name[0] ? vex::tools::escape_text(narrow(name)) : "(default)";
        std::printf("%-40s ", shown.c_str());
        if (v.shown == Shown::Failed)
            std::printf("(unreadable: error %u: %s)\n", error, describe(error));
        else
            print_value(v);
    }
    if (json) j.close().close().print();
}

void run_rm(const std::string& path, bool key) {
    const std::wstring p = wide(path);
    const VEX_BOOL done = key ? vex_RegDeleteKey(p.c_str()) : vex_RegDeleteValue(p.c_str());
    if (!done) fail((key ? "rm --key " : "rm ") + path, vex_GetLastError());
    if (!vex_RegSave(p.c_str())) std::fprintf(stderr, "vexctl reg: warning: the change is not yet on storage\n");
}

}  // namespace vexctl_cmd_reg
}  // namespace

void register_reg_command(CLI::App& app) {
    using namespace vexctl_cmd_reg;
    CLI::App* reg = app.add_subcommand("reg", "Read and change the controller's registry");
    reg->require_subcommand(1);
    reg->footer("PATH is ROOT\\key\\...\\name, e.g. 'HKEY_LOCAL_MACHINE\\VORLAN\\RunningMode'.\n");

    struct Args {
        std::string path, value;
        bool dword = false, key = false;
    };
    static Args args;

    CLI::App* get = reg->add_subcommand("get", "Print a value");
    get->add_option("PATH", args.path, "Full value path")->required();
    get->add_flag("--raw", g_raw, "Print a string as stored: no quotes, no escapes");
    get->callback([] { run_get(args.path); });

    CLI::App* set = reg->add_subcommand("set", "Store a value (a string unless --dword)");
    set->add_option("PATH", args.path, "Full value path")->required();
    set->add_option("VALUE", args.value, "The text, or the number with --dword")->required();
    set->add_flag("--dword", args.dword, "Store a 32-bit number (decimal or 0x hex)");
    set->callback([] { run_set(args.path, args.value, args.dword); });

    CLI::App* ls = reg->add_subcommand("ls", "List a key's subkeys and values");
    ls->add_option("KEYPATH", args.path, "Full key path, e.g. HKEY_LOCAL_MACHINE\\VORLAN")->required();
    ls->callback([] { run_ls(args.path); });

    CLI::App* rm = reg->add_subcommand("rm", "Delete a value (or a key with --key)");
    rm->add_option("PATH", args.path, "Full value path (key path with --key)")->required();
    rm->add_flag("--key", args.key, "Delete the key PATH with all its subkeys and values");
    rm->callback([] { run_rm(args.path, args.key); });
}
