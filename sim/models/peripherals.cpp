// Routes accesses to the processor's pages to their device models. Pages
// that need no behaviour yet are plain files of sixteen registers.
#include "sim/models/peripherals.h"

#include "sim/models/services.h"

namespace vex::sim::models {
namespace {

using plat::Page;

struct PageModel {
    uint32_t (*read)(State& s, uint32_t offset, uint64_t now);
    void (*write)(State& s, uint32_t offset, uint32_t value, uint64_t now);
};

template <RegisterFile Peripherals::*File>
uint32_t file_read(State& s, uint32_t offset, uint64_t) {
    const RegisterFile& f = s.peripherals.*File;
    return offset % 4 == 0 && offset / 4 < kRegisterFileWords ? f.word[offset / 4] : 0;
}

template <RegisterFile Peripherals::*File>
void file_write(State& s, uint32_t offset, uint32_t value, uint64_t) {
    RegisterFile& f = s.peripherals.*File;
    if (offset % 4 == 0 && offset / 4 < kRegisterFileWords) f.word[offset / 4] = value;
}

// Indexed by plat::Page.
constexpr PageModel kModels[plat::kPageCount] = {
    {os_timer_read, os_timer_write},
    {file_read<&Peripherals::pwm0>, file_write<&Peripherals::pwm0>},
    {file_read<&Peripherals::pwm1>, file_write<&Peripherals::pwm1>},
    {file_read<&Peripherals::intc>, file_write<&Peripherals::intc>},
    {gpio_read, gpio_write},
    {file_read<&Peripherals::power>, file_write<&Peripherals::power>},
    {file_read<&Peripherals::clock>, file_write<&Peripherals::clock>},
};

}  // namespace

uint32_t peripheral_read(State& s, Page page, uint32_t offset, uint64_t now) {
    const auto i = static_cast<size_t>(page);
    return i < plat::kPageCount ? kModels[i].read(s, offset, now) : 0xFFFFFFFFu;
}

void peripheral_write(State& s, Page page, uint32_t offset, uint32_t value, uint64_t now) {
    const auto i = static_cast<size_t>(page);
    if (i >= plat::kPageCount) return;
    kModels[i].write(s, offset, value, now);
    services_after_page_write(s, page, now);  // watchdog arming, what the panel shows
}

void peripherals_power_up(State& s) {
    s.peripherals = Peripherals{};
    gpio_power_up(s);
    // Every power-up is a hardware reset as far as the reset status says.
    s.peripherals.power.word[plat::power::kResetStatus / 4] = 1u;
    // The boot loader starts PWM 0's clock (the buzzer); PWM 1's is left to
    // whoever drives the backlight.
    s.peripherals.clock.word[plat::clock::kEnable / 4] = 1u;
}

}  // namespace vex::sim::models
