// The virtual controller that runs when nothing else is said: eight slots
// with a mix of parallel-bus digital modules and serial modules.
#include "sim/description.h"

namespace vex::sim {

const char* default_description_text() {
    return R"toml(# Built-in virtual controller: 8 slots, mixed modules.
[controller]
hardware_id = "HR4-8000"
cpu_id = 2
backplane_version = 3
slots = 8
dip_switch = 0x05

# 32-channel output module with read-back and module watchdog.
[[slot]]
slot = 0
type = "parallel"
id = 0x2F
do_channels = 32
readback = true
watchdog = true
version = 3

# 16-channel input module; a rising edge of any input raises its slot's
# interrupt line.
[[slot]]
slot = 1
type = "parallel"
id = 0x13
di_channels = 16
interrupt_rising = 0xFFFF
version = 1

# 8 inputs and 8 outputs.
[[slot]]
slot = 2
type = "parallel"
id = 0x21
di_channels = 8
do_channels = 8
version = 2

# Serial digital module in a local slot (answers on the internal port).
[[slot]]
slot = 3
type = "serial"
kind = "dio"
di_channels = 8
do_channels = 8

# 32-channel input module.
[[slot]]
slot = 4
type = "parallel"
id = 0x15
di_channels = 32
version = 1

# 16-channel output module.
[[slot]]
slot = 5
type = "parallel"
id = 0x24
do_channels = 16
version = 1

# Slots 6 and 7 are empty.

# External serial bus ports (the internal port COM0: always exists). Their
# modem lines are wired back: DTR -> DSR and carrier detect, RTS -> CTS.
[[port]]
name = "COM1:"
modem_loopback = true

[[port]]
name = "COM2:"
modem_loopback = true

# A storage card with one FAT partition; its files live in the instance
# directory ("card-mmcblk0p1"). vexsim card insert|remove changes it.
[card]
present = true
[[card.partition]]
name = "mmcblk0p1"
file_system = "vfat"
label = "VEXCARD"

# Two Ethernet adapters: LAN1 (eth0) with a cable, LAN2 (eth1) without.
# vexsim set link LAN1 up|down changes them.
[[link]]
interface = "eth0"
up = true

[[link]]
interface = "eth1"
up = false

[registry]
'HKEY_LOCAL_MACHINE\VORLAN\RunningMode' = 0
'HKEY_LOCAL_MACHINE\VORLAN\BackwardCompatible' = 0
)toml";
}

const Description& default_description() {
    static const Description parsed = [] {
        std::string error;
        auto d = parse_description(default_description_text(), &error);
        return d ? *d : Description{};
    }();
    return parsed;
}

}  // namespace vex::sim
