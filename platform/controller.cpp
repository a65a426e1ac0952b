// Connects the process to hardware or to a virtual controller instance and
// routes the register accessors accordingly.
#include "platform/controller.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>

#include "platform/backplane_bus.h"
#include "platform/gpio.h"
#include "platform/peripherals.h"
#include "platform/system.h"
#include "platform/target.h"
#include "sim/host.h"
#include "sim/host_process.h"
#include "sim/instance.h"

namespace vex::plat {

// Lock rules. The direct pointers are written only by connect_controller()
// and disconnect_controller(), under g_mutex, which the load and unload
// sequence call while no export runs; exports read them without a lock.
// g_mutex also guards the instance, host and user below. Nothing else is
// locked while g_mutex is held except the gpio named mutex it detaches.
volatile uint8_t* g_backplane_direct = nullptr;
volatile uint8_t* g_page_direct[kPageCount] = {};

namespace {

// Plain pointers, not owning objects with static destructors: the unload
// sequence runs from the library's destructor, after or before the static
// destructors of the process in an order nobody controls.
std::mutex g_mutex;
sim::Instance* g_instance = nullptr;
sim::Host* g_host = nullptr;       // in-process host, when no host program could be started
sim::HostUser* g_user = nullptr;   // this process as a user of the instance
// A host process on its way up, not yet waited for. Plain data: the
// strings are assigned at connect and cleared at await, both under g_mutex.
sim::HostLaunch* g_launch = nullptr;
// Why a launched host was replaced in-process: written once per connection
// (only one await finds the launch), then published.
char g_host_problem[256] = "";
std::atomic<bool> g_host_problem_set{false};
bool g_pages_mapped = false;

// Maps every processor page; a page that cannot be mapped floats.
std::string map_pages() {
    std::string missing;
    for (size_t i = 0; i < kPageCount; ++i) {
        g_page_direct[i] = static_cast<volatile uint8_t*>(map_physical(kPagePhysical[i], kPageSize));
        if (!g_page_direct[i]) missing += std::string(missing.empty() ? "" : ", ") + kPageName[i];
    }
    g_pages_mapped = true;
    return missing.empty() ? "" : "cannot map the processor pages: " + missing;
}

void unmap_pages() {
    for (size_t i = 0; i < kPageCount; ++i) {
        volatile uint8_t* page = g_page_direct[i];
        g_page_direct[i] = nullptr;
        unmap_physical(page, kPageSize);
    }
    g_pages_mapped = false;
}

// No host process: host in-process, for as long as this program lives.
// Called under g_mutex.
void host_in_process(const std::string& why, std::string* error) {
    std::string service_problems;
    g_host = sim::Host::try_start(*g_instance, &service_problems, "library").release();
    if (error) {
        *error = why + (why.empty() ? "" : "; hosting in-process, the ports end with this program");
        if (!service_problems.empty()) *error += (error->empty() ? "" : "; ") + service_problems;
    }
}

// Waits for the host process on its way up, if any; when it did not come
// up and `replace` is set, hosts in-process instead. Called under g_mutex.
void settle_launch(bool replace) {
    if (!g_launch) return;
    std::string why;
    const sim::HostStart started = sim::finish_host_launch(*g_launch, &why);
    delete g_launch;
    g_launch = nullptr;
    if (started != sim::HostStart::Failed || !replace || !g_instance) return;
    std::string problems;
    host_in_process(why, &problems);
    log_problem(problems);
    if (!env("VEXSDK_DEBUG").empty()) std::fprintf(stderr, "vexsdk: %s\n", problems.c_str());
    std::snprintf(g_host_problem, sizeof g_host_problem, "%s", problems.c_str());
    g_host_problem_set.store(true, std::memory_order_release);
}

}  // namespace

bool connect_controller(std::string* error) {
    std::lock_guard<std::mutex> lock(g_mutex);
    const Target& t = target();
    if (t.none()) {
        if (error) *error = t.problem;
        return false;
    }
    if (t.hardware) {
        if (g_pages_mapped) return true;
        const std::string why = map_pages();
        gpio::attach_lock();
        if (!why.empty() && error) *error = why;
        return why.empty();
    }
    if (g_instance) return true;
    g_host_problem_set.store(false, std::memory_order_relaxed);
    // A program that must run against an instance someone prepared (and
    // never against a fresh one made by a typo in its name) says so.
    if (env("VEXSDK_SIM_EXISTING") == "1" && !sim::Instance::exists(t.instance)) {
        if (error)
            *error = "virtual controller '" + t.instance +
                     "' does not exist and VEXSDK_SIM_EXISTING=1 forbids making it (connected to no controller)";
        return false;
    }
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
    gpio::attach_lock();
    if (sim::Host::host_pid(t.instance) != 0) return true;
    // The host process takes a few milliseconds to come up, most of them
    // the start of a program; the load does not wait for it. What needs the
    // host (opening a port, the unload) waits in await_host().
    auto launch = std::make_unique<sim::HostLaunch>();
    if (g_user && sim::launch_host_process(t.instance, *launch, &why)) {
        g_launch = launch.release();
        return true;
    }
    host_in_process(why, error);
    return true;
}

void await_host() {
    std::lock_guard<std::mutex> lock(g_mutex);
    settle_launch(true);
}

const char* host_problem() { return g_host_problem_set.load(std::memory_order_acquire) ? g_host_problem : ""; }

void disconnect_controller() {
    std::lock_guard<std::mutex> lock(g_mutex);
    // A host on its way up is waited for: the last user stops it below.
    settle_launch(false);
    gpio::detach_lock();
    delete g_host;
    g_host = nullptr;
    sim::set_current(nullptr);
    delete g_instance;
    g_instance = nullptr;
    delete g_user;  // the last user stops the host it was sharing
    g_user = nullptr;
    if (g_pages_mapped) unmap_pages();
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
uint32_t sim_reg_read(Page page, uint32_t offset) {
    sim::Instance* inst = sim::current();
    return inst ? inst->page_read32(page, offset) : 0xFFFFFFFFu;
}
void sim_reg_write(Page page, uint32_t offset, uint32_t value) {
    if (sim::Instance* inst = sim::current()) inst->page_write32(page, offset, value);
}

}  // namespace detail
}  // namespace vex::plat
