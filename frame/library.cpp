#include "frame/library.h"

#include <cstdio>
#include <string>

#include "frame/backplane.h"
#include "io/parallel_io.h"
#include "irq/irq.h"
#include "platform/controller.h"
#include "platform/system.h"
#include "platform/target.h"
#include "serial/port_table.h"
#include "services/memory.h"
#include "services/services.h"
#include "vexsdk.h"

namespace vex::frame {
namespace {

// Written by the load and unload sequence only (the library's constructor
// and destructor, and the test fixtures that call them), on one thread,
// while no export runs; read without a lock.
int g_load_count = 0;
// Constant-initialised: the constructor may run before other statics.
char g_problem[256] = "";

void report(const std::string& what) {
    if (what.empty()) return;
    // The first problem is the cause; later ones usually follow from it.
    if (!g_problem[0]) std::snprintf(g_problem, sizeof g_problem, "%s", what.c_str());
    plat::log_problem(what);
    if (!plat::env("VEXSDK_DEBUG").empty()) std::fprintf(stderr, "vexsdk: %s\n", what.c_str());
}

}  // namespace

int load_count() { return g_load_count; }
const char* load_problem() {
    // A host process that did not come up is found out once it is waited
    // for; it counts as a problem of the load that started it.
    plat::await_host();
    return g_problem[0] ? g_problem : plat::host_problem();
}

void library_attach() {
    // The virtual controller must be up before the registry says what
    // controller this is (its instance presets the hardware ID).
    g_problem[0] = '\0';
    std::string why;
    const bool connected = plat::connect_controller(&why);
    report(why);
    // A virtual controller that cannot power up (its description does not
    // parse, its directory cannot be made) leaves the program on a floating
    // bus: say so on stderr always, not only when debugging.
    const plat::Target& t = plat::target();
    if (!connected && !t.hardware && !t.none() && plat::env("VEXSDK_DEBUG").empty())
        std::fprintf(stderr, "vexsdk: %s\n", why.c_str());
    load_controller_model();
    ++g_load_count;
    // A controller that is there but whose backplane window cannot be mapped
    // leaves every module call on a floating bus: say so.
    if (pub_Orvale_Init() == 0 && connected) report("cannot map the backplane window");
    if (const std::string memory = services::attach_memory(); !memory.empty()) report(memory);
    serial::attach();  // the COM port table, its locks, the read time-out
    io::attach_parallel_io();
    irq::attach_interrupts();
    services::attach_services();  // card store, buzzer, link monitor thread
}

void library_detach() {
    services::detach_services();
    irq::detach_interrupts();  // service threads call into everything below
    io::detach_parallel_io();
    pub_Orvale_Deinit();
    services::detach_memory();
    --g_load_count;
    forget_backplane_base();
    serial::detach();  // closes ports left open before the controller goes
    plat::disconnect_controller();
}

}  // namespace vex::frame
