// vexctl info: what controller this is and what sits in its slots.
#include <cstdio>
#include <string>

#include "frame/backplane.h"
#include "frame/library.h"
#include "platform/target.h"
#include "platform/text_codec.h"
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

int run_info() {
    if (*vex::frame::load_problem()) std::fprintf(stderr, "vexctl: warning: %s\n", vex::frame::load_problem());
    const vex::plat::Target& t = vex::plat::target();
    std::printf("target:            %s\n", t.hardware ? "hardware" : ("virtual controller '" + t.instance + "'").c_str());
    wchar_t id[128] = {};
    vex_RegGetString(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID", id, sizeof id);
    const int model = vex::frame::controller_model();
    std::printf("hardware ID:       %s\n", id[0] ? vex::plat::to_utf8(id).c_str() : "(none)");
    std::printf("model code:        %d (%s)\n", model, model_name(model));
    const uint32_t slots = vex_GetSlotCount();
    std::printf("slot count:        %u\n", slots);
    char version[16] = {};
    if (vex_GetBackplaneID(version) > 0)
        std::printf("backplane version: %s\n", version);
    else
        std::printf("backplane version: (none on this model)\n");
    const int32_t dip = vex_GetDIPSwitch();
    if (dip >= 0)
        std::printf("DIP switch:        0x%02X\n", static_cast<unsigned>(dip));
    else
        std::printf("DIP switch:        (none on this model)\n");
    std::printf("CPU ID:            %u\n", vex_GetCPUID());
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
