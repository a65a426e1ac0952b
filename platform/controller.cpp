// Connects the process to hardware or to a virtual controller instance and
// routes the register accessors accordingly.
#include "platform/controller.h"

#include <filesystem>
#include <memory>
#include <mutex>

#include "platform/backplane_bus.h"
#include "platform/os_timer.h"
#include "platform/target.h"
#include "sim/host.h"
#include "sim/host_process.h"
#include "sim/instance.h"

namespace vex::plat {

volatile uint8_t* g_backplane_direct = nullptr;
volatile uint32_t* g_os_timer_direct = nullptr;

namespace {

// The processor's OS timer block: its counter register is at +0x10.
constexpr uint64_t kOsTimerPhysical = 0x40A00000;
constexpr size_t kOsTimerPage = 0x1000;
constexpr uint32_t kOsTimerCountOffset = 0x10;

// Plain pointers, not owning objects with static destructors: the unload
// sequence runs from the library's destructor, after or before the static
// destructors of the process in an order nobody controls.
std::mutex g_mutex;
sim::Instance* g_instance = nullptr;
sim::Host* g_host = nullptr;       // in-process host, when no host program could be started
sim::HostUser* g_user = nullptr;   // this process as a user of the instance
volatile void* g_os_timer_page = nullptr;

}  // namespace

bool connect_controller(std::string* error) {
    std::lock_guard<std::mutex> lock(g_mutex);
    const Target& t = target();
    if (t.hardware) {
        if (!g_os_timer_page) {
            g_os_timer_page = map_physical(kOsTimerPhysical, kOsTimerPage);
            if (g_os_timer_page)
                g_os_timer_direct = reinterpret_cast<volatile uint32_t*>(
                    static_cast<volatile uint8_t*>(g_os_timer_page) + kOsTimerCountOffset);
        }
        if (!g_os_timer_page && error) *error = "cannot map the OS timer";
        return g_os_timer_page != nullptr;
    }
    if (g_instance) return true;
    // Register as a user first: a host that is winding down finishes before
    // this process looks at the instance.
    std::string why;
    std::error_code ec;
    std::filesystem::create_directories(instance_dir(t.instance), ec);
    g_user = sim::HostUser::join(t.instance, &why).release();
    g_instance = sim::Instance::attach(t.instance, error).release();
    if (!g_instance) {
        delete g_user;
        g_user = nullptr;
        return false;
    }
    sim::set_current(g_instance);
    if (sim::Host::host_pid(t.instance) != 0) return true;
    if (g_user && sim::start_host_process(t.instance, &why) != sim::HostStart::Failed) return true;
    // No host process: host in-process, for as long as this program lives.
    std::string service_problems;
    g_host = sim::Host::try_start(*g_instance, &service_problems, "library").release();
    if (error) {
        *error = why + (why.empty() ? "" : "; hosting in-process, the ports end with this program");
        if (!service_problems.empty()) *error += (error->empty() ? "" : "; ") + service_problems;
    }
    return true;
}

void disconnect_controller() {
    std::lock_guard<std::mutex> lock(g_mutex);
    delete g_host;
    g_host = nullptr;
    sim::set_current(nullptr);
    delete g_instance;
    g_instance = nullptr;
    delete g_user;  // the last user stops the host it was sharing
    g_user = nullptr;
    if (g_os_timer_page) {
        g_os_timer_direct = nullptr;
        unmap_physical(g_os_timer_page, kOsTimerPage);
        g_os_timer_page = nullptr;
    }
}

volatile uint8_t* map_backplane() {
    if (target().hardware) {
        auto* base = static_cast<volatile uint8_t*>(map_physical(kBackplanePhysical, kBackplaneWindowSize));
        g_backplane_direct = base;
        return base;
    }
    sim::Instance* inst = sim::current();
    return inst ? inst->state().image : nullptr;
}

void unmap_backplane(volatile uint8_t* base) {
    if (base && base == g_backplane_direct) {
        g_backplane_direct = nullptr;
        unmap_physical(base, kBackplaneWindowSize);
    }
}

namespace detail {

// Without a controller the bus floats: reads see all ones, writes vanish.
uint8_t sim_read8(uint32_t offset) {
    sim::Instance* inst = sim::current();
    return inst ? inst->read8(offset) : 0xFF;
}
void sim_write8(uint32_t offset, uint8_t value) {
    if (sim::Instance* inst = sim::current()) inst->write8(offset, value);
}
uint16_t sim_read16(uint32_t offset) {
    sim::Instance* inst = sim::current();
    return inst ? inst->read16(offset) : 0xFFFF;
}
void sim_write16(uint32_t offset, uint16_t value) {
    if (sim::Instance* inst = sim::current()) inst->write16(offset, value);
}
uint32_t sim_os_timer() {
    sim::Instance* inst = sim::current();
    return inst ? inst->os_timer() : 0;
}

}  // namespace detail
}  // namespace vex::plat
