// vexctl info: what controller this is, what sits in its slots (ID, type
// class, name, version and channels, from the library's identification
// and the product catalogue) and, on the virtual controller, the modules
// on its serial buses (each asked for its name).
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "frame/backplane.h"
#include "frame/catalogue.h"
#include "frame/identify.h"
#include "frame/library.h"
#include "modproto/command.h"
#include "modproto/link.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "sim/instance.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_info {

const char* model_name(int model) {
    switch (model) {
    case vex::frame::kModelMultiSlot: return "multi-slot controller";
    case vex::frame::kModelSingleSlot: return "single-slot controller";
    case vex::frame::kModelSingleSlotLargeEeprom: return "single-slot controller, large EEPROM";
    case vex::frame::kModelDisplay: return "panel controller";
    default: return "unrecognised hardware ID";
    }
}

// "8 DI, 8 DO" from the channel counts; "-" when there are none.
std::string channels(unsigned di, unsigned dout, unsigned ai, unsigned ao, unsigned counters) {
    std::string out;
    auto add = [&](unsigned n, const char* what) {
        if (n) out += (out.empty() ? "" : ", ") + std::to_string(n) + " " + what;
    };
    add(di, "DI");
    add(dout, "DO");
    add(ai, "AI");
    add(ao, "AO");
    add(counters, "CNT");
    return out.empty() ? "-" : out;
}

std::string serial_channels(const char* name) {
    const vex::catalogue::SerialKind* k = vex::catalogue::find_serial_kind(name);
    if (!k) return "(not in the catalogue)";
    return channels(k->di_channels, k->do_channels, k->ai_channels, k->ao_channels, k->counters);
}

// What the catalogue says a module's channels are.
std::string slot_channels(uint32_t id, const char* name) {
    if (id == 0xFF) return serial_channels(name);
    if (vex::frame::controller_model() == vex::frame::kModelSingleSlot) {
        const auto* b = vex::catalogue::find_expansion_board(_vex_inp(vex::frame::kRegBoardId));
        return b ? channels(b->di_channels, b->do_channels, 0, 0, 0) : "-";
    }
    const auto* k = vex::catalogue::find_parallel_kind(id);
    return k ? channels(k->di_channels, k->do_channels, k->ai_channels, k->ao_channels, k->counters) : "-";
}

void print_slots(uint32_t slots) {
    std::printf("\nslot  ID    class  name          version  channels\n");
    for (uint32_t s = 0; s < slots; ++s) {
        if (!_vex_slot_exists(s)) {
            std::printf("%4u  -     -      (empty)\n", s);
            continue;
        }
        const uint32_t id = _vex_slot_inp(s, 0);
        char name[VEX_MODULE_NAME_SIZE] = {};
        vex_GetModuleName(s, name);
        const unsigned type = vex_GetModuleType(s);
        // A serial module's page has no version register (it reads all ones).
        const std::string version = id == 0xFF ? "-" : std::to_string(vex_GetModuleVersion(s));
        std::printf("%4u  0x%02X  0x%02X   %-12s  %7s  %s\n", s, id, type, name, version.c_str(),
                    slot_channels(id, name).c_str());
    }
}

// Asks a bus module its name ("$AAM"); "" when it does not answer.
std::string ask_name(VEX_PORT port, uint32_t address) {
    const auto command = vex::modproto::make_command(vex::modproto::kShortCommand, "$%02XM", address);
    char answer[64] = {};
    if (!vex::modproto::exchange(vex::modproto::bus_module(port, address), command, answer, sizeof answer) ||
        std::strlen(answer) < 3)
        return "";
    return answer + 3;
}

// One module or unit on a serial bus, as vexctl info shows it.
struct BusEntry {
    std::string where;     // "0x01", or "0x10/1" for a module in a unit's slot
    std::string name;      // its own answer to "$AAM"; "" when it did not answer
    std::string kind;      // the description's kind
    unsigned unit_slots;   // an expansion unit of that many slots; 0 a module
    bool asked;            // false for modules in a unit's slot (reached through the unit)
};
struct Bus {
    std::string port;
    std::vector<BusEntry> entries;
};

std::string hex_address(uint32_t address) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "0x%02X", address);
    return buf;
}

// The modules on the serial buses the virtual controller describes, each
// asked for its name; on hardware nothing says what is wired to a bus.
std::vector<Bus> collect_buses(const vex::sim::Description& d) {
    std::vector<Bus> buses;
    for (const vex::sim::PortDescription& p : d.ports) {
        if (p.modules.empty() && p.units.empty()) continue;
        Bus bus{p.name, {}};
        const VEX_PORT port = uart_OpenEx((p.name + ",115200,N,8,1").c_str());
        if (port == VEX_INVALID_PORT)
            std::fprintf(stderr, "vexctl: warning: %s cannot be opened: %s\n", p.name.c_str(),
                         vex::tools::error_text(vex_GetLastError()).c_str());
        else  // cannot fail on a port just opened
            (void)uart_EnableCheckSum(port, p.checksum ? VEX_TRUE : VEX_FALSE);
        const auto name_of = [&](uint32_t address) {
            return port != VEX_INVALID_PORT ? ask_name(port, address) : std::string();
        };
        for (const vex::sim::SerialModuleDescription& m : p.modules)
            bus.entries.push_back({hex_address(m.address), name_of(m.address), m.kind, 0, true});
        for (const vex::sim::UnitDescription& u : p.units) {
            bus.entries.push_back({hex_address(u.address), name_of(u.address), u.name.empty() ? "unit" : u.name,
                                   u.slots, true});
            for (const auto& [slot, m] : u.modules)
                bus.entries.push_back(
                    {hex_address(u.address) + "/" + std::to_string(static_cast<unsigned>(slot)), "", m.kind, 0, false});
        }
        if (port != VEX_INVALID_PORT) (void)uart_Close(port);  // nothing to do about a failed close
        buses.push_back(std::move(bus));
    }
    return buses;
}

std::string entry_channels(const BusEntry& e) {
    if (e.unit_slots) return "expansion unit, " + std::to_string(e.unit_slots) + " slots";
    return serial_channels(e.name.empty() ? e.kind.c_str() : e.name.c_str());
}

void print_buses(const std::vector<Bus>& buses) {
    for (const Bus& b : buses) {
        std::printf("\n%s\n  address       name                  channels\n", b.port.c_str());
        for (const BusEntry& e : b.entries) {
            const std::string shown = !e.asked ? e.kind : e.name.empty() ? e.kind + " (no answer)" : e.name;
            std::printf("  %-12s  %-20s  %s\n", e.where.c_str(), shown.c_str(), entry_channels(e).c_str());
        }
    }
}

void json_buses(vex::tools::Json& j, const std::vector<Bus>& buses) {
    j.key("buses").open_array();
    for (const Bus& b : buses) {
        j.open_object().field("port", b.port).key("modules").open_array();
        for (const BusEntry& e : b.entries) {
            j.open_object().field("address", e.where).field("kind", e.kind);
            if (e.asked && !e.name.empty())
                j.field("name", e.name);
            else
                j.key("name").null();
            j.field("unit", e.unit_slots != 0);
            if (e.unit_slots)
                j.field("unit_slots", e.unit_slots);
            else
                j.key("unit_slots").null();
            j.field("channels", entry_channels(e)).close();
        }
        j.close().close();
    }
    j.close();
}

// The description of the virtual controller, or none on hardware (or when
// it cannot be read: a warning says why).
std::optional<vex::sim::Description> description() {
    vex::sim::Instance* inst = vex::sim::current();
    if (!inst) return std::nullopt;
    std::string error;
    std::optional<vex::sim::Description> d = inst->description(&error);
    if (!d) std::fprintf(stderr, "vexctl: warning: the controller's description cannot be read: %s\n", error.c_str());
    return d;
}

// A target that names no controller: say so plainly, and fail.
int run_no_target(const vex::plat::Target& t) {
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().key("target").null().field("problem", t.problem);
        vex::tools::add_error(j, vex::tools::kExitFailed, t.problem, nullptr);
        j.close().print();
    }
    vex::tools::fail_after_json(vex::tools::kExitFailed, t.problem);
}

int run_info() {
    const vex::plat::Target& t = vex::plat::target();
    if (t.none()) return run_no_target(t);
    if (*vex::frame::load_problem()) std::fprintf(stderr, "vexctl: warning: %s\n", vex::frame::load_problem());
    wchar_t id[128] = {};
    vex_RegGetString(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID", id, sizeof id);
    const std::string hwid = id[0] ? vex::plat::to_utf8(id) : "";
    const int model = vex::frame::controller_model();
    const uint32_t slots = vex_GetSlotCount();
    char version[16] = {};
    const bool has_version = vex_GetBackplaneID(version) > 0;
    const int32_t dip = vex_GetDIPSwitch();
    const uint32_t cpu = vex_GetCPUID();
    const std::optional<vex::sim::Description> d = description();
    const std::vector<Bus> buses = d ? collect_buses(*d) : std::vector<Bus>{};
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().key("target").open_object().field("kind", t.hardware ? "hw" : "sim");
        if (t.hardware)
            j.key("instance").null();
        else
            j.field("instance", t.instance);
        j.close();
        j.field("hardware_id", hwid).field("model_code", model).field("model", model_name(model));
        j.field("slot_count", slots);
        if (has_version)
            j.field("backplane_version", std::string(version));
        else
            j.key("backplane_version").null();
        if (dip >= 0)
            j.field("dip_switch", dip);
        else
            j.key("dip_switch").null();
        j.field("cpu_id", cpu).key("slots").open_array();
        for (uint32_t s = 0; s < slots; ++s) {
            j.open_object().field("slot", s);
            if (!_vex_slot_exists(s)) {
                j.key("module").null().key("id").null().close();
                continue;
            }
            const uint32_t mid = _vex_slot_inp(s, 0);
            char name[VEX_MODULE_NAME_SIZE] = {};
            vex_GetModuleName(s, name);
            j.field("module", mid == 0xFF ? "serial" : "bus").field("id", mid);
            j.field("class", static_cast<uint32_t>(vex_GetModuleType(s))).field("name", std::string(name));
            if (mid == 0xFF)
                j.key("version").null();
            else
                j.field("version", static_cast<uint32_t>(vex_GetModuleVersion(s)));
            j.field("channels", slot_channels(mid, name)).close();
        }
        j.close();
        if (d)
            json_buses(j, buses);
        else
            j.key("buses").null();
        j.close().print();
        return 0;
    }
    std::printf("target:            %s\n", t.hardware ? "hardware" : ("virtual controller '" + t.instance + "'").c_str());
    std::printf("hardware ID:       %s\n", hwid.empty() ? "(none)" : hwid.c_str());
    std::printf("model code:        %d (%s)\n", model, model_name(model));
    std::printf("slot count:        %u\n", slots);
    if (has_version)
        std::printf("backplane version: %s\n", version);
    else
        std::printf("backplane version: (none on this model)\n");
    if (dip >= 0)
        std::printf("DIP switch:        0x%02X\n", static_cast<unsigned>(dip));
    else
        std::printf("DIP switch:        (none on this model)\n");
    std::printf("CPU ID:            %u\n", cpu);
    print_slots(slots);
    if (!vex::sim::current())
        std::printf("\nserial buses: not known on hardware (ask a module with 'vexctl module ... name')\n");
    print_buses(buses);
    return 0;
}

}  // namespace vexctl_cmd_info
}  // namespace

void register_info_command(CLI::App& app) {
    using namespace vexctl_cmd_info;
    CLI::App* cmd = app.add_subcommand("info", "Show the controller's identity and slot inventory");
    cmd->footer("With --json: {target: {kind, instance} (null: no controller, with problem and error),\n"
                "hardware_id, model_code, model, slot_count, backplane_version, dip_switch, cpu_id,\n"
                "slots: [{slot, module (\"bus\", \"serial\" or null: empty), id, class, name, version, channels}],\n"
                "buses: [{port, modules: [{address, kind, name (its answer; null: none), unit, unit_slots,\n"
                "channels}]}] (null on hardware)}.");
    cmd->callback([] { std::exit(run_info()); });
}
