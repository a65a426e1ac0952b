// The virtual controller that runs when nothing else is said: eight slots
// with a mix of parallel-bus digital modules and serial modules, and serial
// modules on an external bus, directly and in a remote expansion unit.
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
board_version = 17          # CPU board version; its top three bits are the CPU ID
rotary = 3
battery1_low = false
battery2_low = false

# Memory chips: battery-backed SRAM behind the paged window, I2C EEPROM.
[memory]
sram_kib = 512
eeprom_kbit = 128
eeprom_write_cycle_us = 5000

# Factory record, written into the EEPROM's system area when the instance
# is first created.
[factory]
serial = "2D4C11A30B7E00"
serial_crc = "valid"
eboot_version = "1.3.0.7"
os_version = "6.0.2.14"
mac1 = "02:56:58:00:10:01"
mac2 = "02:56:58:00:10:02"
eboot_build = 2023-11-06 10:42:17
os_build = 2024-03-19 16:05:44

# Parallel-bus modules are named as the product catalogue
# (data/catalogue.toml) names them; "id" with the channel keys describes
# one the catalogue does not know.
#
# 32-channel output module with read-back and module watchdog.
[[slot]]
slot = 0
type = "parallel"
module = "8132"              # ID 0x2F: 32 outputs, read-back, module watchdog
version = 3

# 16-channel input module; a rising edge of any input raises its slot's
# interrupt line.
[[slot]]
slot = 1
type = "parallel"
module = "8016"              # ID 0x13: 16 inputs
interrupt_rising = 0xFFFF
version = 1

# 8 inputs and 8 outputs.
[[slot]]
slot = 2
type = "parallel"
module = "8088"              # ID 0x21: 8 inputs, 8 outputs
version = 2

# Serial module in a local slot: it answers on the internal port COM0:
# while the slot is selected. 8 inputs (latches, counters), 8 outputs with
# host watchdog. Its kind comes from the product catalogue.
[[slot]]
slot = 3
type = "serial"
kind = "4308"
di = 0x05

# 32-channel input module.
[[slot]]
slot = 4
type = "parallel"
module = "8032"              # ID 0x15: 32 inputs
version = 1

# 16-channel output module.
[[slot]]
slot = 5
type = "parallel"
module = "8116"              # ID 0x24: 16 outputs
version = 1

# Slot 6 is empty.

# Serial analog output module (4 outputs, power-on values readable: the
# "P" variant) in a local slot.
[[slot]]
slot = 7
type = "serial"
kind = "4504P"

# External serial bus ports (the internal port COM0: always exists). Their
# modem lines are wired back: DTR -> DSR and carrier detect, RTS -> CTS.
# COM1: carries two modules at bus addresses 01 and 02 and a remote
# expansion unit at address 10 with modules in its slots 0 and 1.
[[port]]
name = "COM1:"
modem_loopback = true

[[port.module]]
address = 0x01
kind = "4408"
ai = [1.25, -2.5, 0.0, 5.0, 9.75, -10.0, 0.5, 3.3]

[[port.module]]
address = 0x02
kind = "4216"

[[port.unit]]
address = 0x10
slots = 2

[[port.unit.slot]]
slot = 0
kind = "4116"
di = 0x0101

[[port.unit.slot]]
slot = 1
kind = "4502"

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
