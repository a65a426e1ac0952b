// vexsim show --json: the instance's identity, its slots with their modules,
// its COM ports, services, interrupts and serial buses, as one JSON document
// (state locked by the caller).
#include <cstring>
#include <string>

#include "sim/serial_ports.h"
#include "tools/common/json.h"
#include "tools/vexsim/commands.h"

void show_json(const std::string& name, int host_pid, vex::sim::State& s, uint64_t now) {
    using vex::sim::ModuleKind;
    vex::tools::Json j;
    j.open_object().field("instance", name);
    if (host_pid > 0)
        j.field("host_pid", host_pid);
    else
        j.key("host_pid").null();
    const int count = s.slot_count_code == 7 ? 8 : s.slot_count_code;
    j.field("hardware_id", std::string(s.hardware_id, strnlen(s.hardware_id, sizeof s.hardware_id)));
    j.field("cpu_id", s.cpu_id).field("backplane_version", s.backplane_version).field("slot_count", count);
    j.field("dip_switch", s.dip_switch).field("slot_select", s.slot_select);
    j.key("slots").open_array();
    for (int i = 0; i < count; ++i) {
        const vex::sim::Slot& slot = s.slots[i];
        j.open_object().field("slot", i);
        switch (static_cast<ModuleKind>(slot.kind)) {
        case ModuleKind::Empty:
            j.key("module").null();
            break;
        case ModuleKind::Serial:
            j.field("module", "serial");
            break;
        case ModuleKind::Parallel: {
            const vex::sim::ParallelModule& m = slot.parallel;
            j.field("module", "bus").field("id", slot.id).field("di_channels", m.di_channels);
            j.field("do_channels", m.do_channels).field("capability", m.capability).field("readback", m.readback != 0);
            j.field("inputs", m.di).field("outputs", m.do_latch).field("last_source", m.last_source);
            if (m.watchdog) {
                j.key("watchdog").open_object().field("enabled", m.wdt_enabled != 0);
                j.field("expired", m.wdt_expired != 0).field("timeout_half_seconds", m.wdt_timeout ? m.wdt_timeout : 256u);
                j.close();
            } else {
                j.key("watchdog").null();
            }
            break;
        }
        }
        j.close();
    }
    j.close().key("ports").open_array();
    for (int i = 0; i < vex::sim::kSerialPorts; ++i) {
        const vex::sim::SerialPortState& p = s.serial_ports[i];
        if (!p.name[0]) continue;
        const uint32_t in = vex::sim::serial_port_status(s, i);
        j.open_object().field("name", std::string(p.name, strnlen(p.name, sizeof p.name)));
        j.field("device", std::string(p.device, strnlen(p.device, sizeof p.device)));
        j.field("dtr", p.dtr != 0).field("rts", p.rts != 0).field("cts", (in & 0x10) != 0);
        j.field("dsr", (in & 0x20) != 0).field("ring", (in & 0x40) != 0).field("dcd", (in & 0x80) != 0);
        j.field("loopback", p.loopback != 0).close();
    }
    j.close();
    show_json_services(j, s, now);
    show_json_interrupts(j, s, now);
    show_json_serial(j, s);
    j.close().print();
}
