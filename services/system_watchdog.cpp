// System watchdog (backplane type 0, OS timer match 3 type 1) and reboot.
//
// The register sequences are the controller's own, in its order: the
// platform and the virtual controller see exactly these accesses.
#include <atomic>

#include "frame/backplane.h"
#include "frame/errors.h"
#include "platform/os_timer.h"
#include "platform/peripherals.h"
#include "platform/system_control.h"
#include "vexsdk.h"

namespace {

using vex::plat::Page;
namespace ost = vex::plat::ost;
namespace intc = vex::plat::intc;

// Backplane watchdog registers in the window's base page.
constexpr uint32_t kRegControl = 0x0000;   // write: bit 7 enable, bits 0..4 time
constexpr uint32_t kRegTimeHigh = 0x0001;  // read: bits 0..1 = time bits 3..4
constexpr uint32_t kRegRefresh = 0xF000;   // any read refreshes
constexpr uint32_t kMaxBackplaneTime = 31;
constexpr uint32_t kCountsPerMs = 3250;
constexpr uint32_t kMatch3Bit = 1u << 3;
constexpr uint32_t kMatch3Source = 1u << intc::kOsTimerMatch3;

// Per process. Any thread may call: each is atomic on its own, and the
// sequences below do not depend on them being read together.
std::atomic<uint8_t> g_os_timer_enabled{0};
std::atomic<uint32_t> g_os_timer_time{0};
std::atomic<uint32_t> g_os_timer_enable_time{0};  // the time of the last enable; nothing reads it
std::atomic<uint8_t> g_backplane_enabled{0};      // written, never read, as on the controller

bool single_slot() { return vex::frame::controller_model() == vex::frame::kModelSingleSlot; }

bool reject_time() {
    vex::frame::set_last_error(VEX_ERR_WDT_VALUE);
    return false;
}

void reg_clear(Page page, uint32_t offset, uint32_t bits) {
    vex::plat::reg_write(page, offset, vex::plat::reg_read(page, offset) & ~bits);
}
void reg_set(Page page, uint32_t offset, uint32_t bits) {
    vex::plat::reg_write(page, offset, vex::plat::reg_read(page, offset) | bits);
}

void arm_match3(uint32_t time) {
    vex::plat::reg_write(Page::OsTimer, ost::match(3), vex::plat::os_timer_count() + time * kCountsPerMs);
}

}  // namespace

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API VEX_BOOL vex_EnableWatchDog(uint32_t type, uint32_t time) {
    if (type == VEX_WDT_BACKPLANE) {
        if (time < 1 || time > kMaxBackplaneTime) return reject_time();
        vex::plat::bus_write8(kRegControl, static_cast<uint8_t>((time + 128) & 0xFF));
        g_backplane_enabled.store(1, std::memory_order_relaxed);
        vex::plat::watchdog_notice(vex::plat::kNoticeWatchdogEnabled);
        return VEX_TRUE;
    }
    if (type == VEX_WDT_OS_TIMER) {
        if (time == 0) return reject_time();
        g_os_timer_time.store(time, std::memory_order_relaxed);
        g_os_timer_enable_time.store(time, std::memory_order_relaxed);
        g_os_timer_enabled.store(1, std::memory_order_relaxed);
        reg_clear(Page::IrqController, intc::kMask, kMatch3Source);
        vex::plat::reg_write(Page::OsTimer, ost::kStatus, kMatch3Bit);
        vex::plat::reg_write(Page::OsTimer, ost::kIrqEnable,
                             vex::plat::reg_read(Page::OsTimer, ost::kIrqEnable) & 0xFFFu & ~kMatch3Bit);
        arm_match3(time);
        reg_set(Page::IrqController, intc::kMask, kMatch3Source);
        reg_set(Page::OsTimer, ost::kIrqEnable, kMatch3Bit);
        return VEX_TRUE;
    }
    return VEX_FALSE;
}

VEXSDK_API void vex_DisableWatchDog(uint32_t type) {
    if (type == VEX_WDT_BACKPLANE) {
        vex::plat::watchdog_notice(vex::plat::kNoticeWatchdogDisabling);
        vex::plat::bus_write8(kRegControl, 0);
        g_backplane_enabled.store(0, std::memory_order_relaxed);
    } else if (type == VEX_WDT_OS_TIMER) {
        g_os_timer_enabled.store(0, std::memory_order_relaxed);
        reg_clear(Page::OsTimer, ost::kWatchdogEnable, 1u);
        reg_clear(Page::IrqController, intc::kMask, kMatch3Source);
        vex::plat::reg_write(Page::OsTimer, ost::kStatus, kMatch3Bit);
        reg_clear(Page::OsTimer, ost::kIrqEnable, kMatch3Bit);
    }
}

VEXSDK_API uint32_t vex_RefreshWatchDog(uint32_t type) {
    if (type == VEX_WDT_BACKPLANE) return vex::plat::bus_read8(kRegRefresh);
    if (type == VEX_WDT_OS_TIMER) arm_match3(g_os_timer_time.load(std::memory_order_relaxed));
    return type;
}

VEXSDK_API VEX_BOOL vex_GetWatchDogState(uint32_t type) {
    if (type == VEX_WDT_BACKPLANE) {
        const uint8_t reg = vex::plat::bus_read8(kRegControl);
        return (reg & (single_slot() ? 0x04 : 0x10)) ? VEX_TRUE : VEX_FALSE;
    }
    if (type == VEX_WDT_OS_TIMER) return g_os_timer_enabled.load(std::memory_order_relaxed) ? VEX_TRUE : VEX_FALSE;
    return VEX_TRUE;
}

VEXSDK_API uint32_t vex_GetWatchDogTime(uint32_t type) {
    if (type == VEX_WDT_BACKPLANE) {
        const uint32_t low = vex::plat::bus_read8(kRegControl);
        if (single_slot()) return low >> 3;
        return ((low >> 5) & 7u) + 8u * (vex::plat::bus_read8(kRegTimeHigh) & 3u);
    }
    if (type == VEX_WDT_OS_TIMER) return g_os_timer_time.load(std::memory_order_relaxed);
    return 1;
}

VEXSDK_API VEX_BOOL vex_SetWatchDogTime(uint32_t type, uint32_t time) {
    if (type == VEX_WDT_BACKPLANE) {
        if (time < 1 || time > kMaxBackplaneTime) return reject_time();
        const uint32_t value = vex_GetWatchDogState(VEX_WDT_BACKPLANE) ? (time & 31u) + 128u : time & 31u;
        vex::plat::bus_write8(kRegControl, static_cast<uint8_t>(value));
        return VEX_TRUE;
    }
    if (type == VEX_WDT_OS_TIMER) {
        if (time == 0) return reject_time();
        g_os_timer_time.store(time, std::memory_order_relaxed);
        arm_match3(time);
        return VEX_TRUE;
    }
    return VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_GetWatchDogResetState(uint32_t type) {
    if (type != VEX_WDT_OS_TIMER) return VEX_FALSE;
    const uint32_t status = vex::plat::reg_read(Page::PowerManager, vex::plat::power::kResetStatus);
    return (status & vex::plat::power::kResetWatchdog) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_Reboot(void) { return vex::plat::reboot_controller() ? VEX_TRUE : VEX_FALSE; }

VEXSDK_EXTERN_C_END
