// A misbehaving EEPROM master, run by tests as a separate process: it
// takes "VEX_EEP", starts a page write, and dies in the middle of it with
// the lock held and the bus in its worst state (SCL high, SDA low, half a
// page sent). Targets the controller named by VEXSDK_TARGET.
//
//   eeprom_peer abandon CHIP_ADDRESS DATA_BYTES FILL_BYTE
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "frame/library.h"
#include "platform/named_mutex.h"
#include "platform/target.h"
#include "services/eeprom.h"
#include "services/i2c_bus.h"
#include "services/i2c_lines.h"

int main(int argc, char** argv) {
    if (argc != 5 || std::string(argv[1]) != "abandon") {
        std::fprintf(stderr, "usage: eeprom_peer abandon CHIP_ADDRESS DATA_BYTES FILL_BYTE\n");
        return 2;
    }
    const auto address = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 0));
    const auto count = static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 0));
    const auto fill = static_cast<uint8_t>(std::strtoul(argv[4], nullptr, 0));
    vex::frame::library_attach();
    auto lock = vex::plat::NamedMutex::open(vex::plat::shared_object_name("VEX_EEP"), nullptr);
    if (!lock) return 3;
    lock->lock();

    namespace eeprom = vex::services::eeprom;
    vex::services::i2c::GpioLines lines(eeprom::kPinScl, eeprom::kPinSda);
    vex::services::i2c::Master bus(lines);
    bus.start();
    for (const uint8_t byte : {uint8_t{0xA0}, static_cast<uint8_t>(address >> 8), static_cast<uint8_t>(address)}) {
        bus.send_byte(byte);
        if (bus.check_ack()) return 4;
    }
    for (uint32_t i = 0; i < count; ++i) {
        bus.send_byte(fill);
        if (bus.check_ack()) return 5;
    }
    // Three bits of one more byte, the last a 0 with the clock left high.
    lines.sda(true);
    lines.scl(true);
    lines.scl(false);
    lines.sda(false);
    lines.scl(true);
    std::printf("abandoned\n");
    std::fflush(stdout);
    std::raise(SIGKILL);
    return 6;
}
