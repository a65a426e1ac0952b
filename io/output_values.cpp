// Power-on and safe output values in a parallel-bus module's parameter
// memory.
#include "io/output_values.h"

#include "io/module_registers.h"
#include "platform/system.h"

namespace vex::io {
namespace {

constexpr uint8_t kModeRead = 0;
constexpr uint8_t kModeWrite = 1;

// The module needs a moment to fetch a parameter byte after its index is
// written. The wait is counted, not timed, as the module was specified
// against; the counter is volatile so that the compiler keeps the loop.
void settle() {
    volatile uint32_t spin = 0;
    while (spin < 2000) spin = spin + 1;
}

uint32_t read_word(uint32_t slot, uint8_t first) {
    uint32_t value = 0;
    for (uint8_t i = 0; i < 4; ++i)
        value |= static_cast<uint32_t>(read_module_param(slot, static_cast<uint8_t>(first + i))) << (8 * i);
    return value;
}

void write_word(uint32_t slot, uint8_t first, uint32_t value) {
    for (uint8_t i = 0; i < 4; ++i)
        write_module_param(slot, static_cast<uint8_t>(first + i), static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

void write_module_param(uint32_t slot, uint8_t index, uint8_t value) {
    module_write8(slot, kRegParamMode, kModeWrite);
    module_write8(slot, kRegParamIndex, index);
    module_write8(slot, kRegParamValue, value);
}

uint8_t read_module_param(uint32_t slot, uint8_t index) {
    module_write8(slot, kRegParamMode, kModeRead);
    module_write8(slot, kRegParamIndex, index);
    settle();
    return module_read8(slot, kRegParamValue);
}

uint32_t read_power_on_do(uint32_t slot) {
    if (read_module_param(slot, kParamPowerOnEnabled) == 0) return 0;
    return read_word(slot, kParamPowerOnValue);
}

void write_power_on_do(uint32_t slot, uint32_t value) {
    write_word(slot, kParamPowerOnValue, value);
    write_module_param(slot, kParamPowerOnEnabled, value != 0 ? 1 : 0);
}

uint32_t read_safe_do(uint32_t slot) {
    const uint32_t value = read_word(slot, kParamSafeValue);
    plat::sleep_ms(1);
    return value;
}

void write_safe_do(uint32_t slot, uint32_t value) { write_word(slot, kParamSafeValue, value); }

}  // namespace vex::io
