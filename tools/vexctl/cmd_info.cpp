// vexctl info: what controller this is and what sits in its slots.
#include <cstdio>
#include <string>

#include "frame/backplane.h"
#include "frame/library.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {

const char* model_name(int model) {
    switch (model) {
    case vex::frame::kModelMultiSlot: return "multi-slot controller";
    case vex::frame::kModelSingleSlot: return "single-slot controller";
    case vex::frame::kModelSingleSlotLargeEeprom: return "single-slot controller, large EEPROM";
    case vex::frame::kModelDisplay: return "panel controller";
    default: return "unrecognised hardware ID";
    }
}

// A target that names no controller: say so plainly, and fail.
int run_no_target(const vex::plat::Target& t) {
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().key("target").null().field("problem", t.problem).close().print();
    }
    vex::tools::fail(vex::tools::kExitFailed, t.problem);
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
            j.field("module", mid == 0xFF ? "serial" : "bus").field("id", mid).close();
        }
        j.close().close().print();
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
    std::printf("\nslot  module  ID\n");
    for (uint32_t s = 0; s < slots; ++s) {
        if (!_vex_slot_exists(s)) {
            std::printf("%4u  empty   -\n", s);
            continue;
        }
        const uint32_t mid = _vex_slot_inp(s, 0);
        std::printf("%4u  %-6s  0x%02X\n", s, mid == 0xFF ? "serial" : "bus", mid);
    }
    return 0;
}

}  // namespace

void register_info_command(CLI::App& app) {
    CLI::App* cmd = app.add_subcommand("info", "Show the controller's identity and slot inventory");
    cmd->callback([] { std::exit(run_info()); });
}
