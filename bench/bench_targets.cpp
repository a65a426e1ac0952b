#include "bench/bench_targets.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "frame/library.h"
#include "platform/shared_section.h"
#include "platform/target.h"
#include "sim/instance.h"
#include "vexsdk.h"

namespace vex::bench {
namespace {

std::string g_dir;
std::string g_instance;
bool g_attached = false;

void make_dir() {
    if (!g_dir.empty()) return;
    char templ[] = "/tmp/vexsdk-bench-XXXXXX";
    if (::mkdtemp(templ)) g_dir = templ;
    std::atexit(release);
}

void poke(int fd, off_t at, uint8_t v) {
    if (::pwrite(fd, &v, 1, at) != 1) std::abort();
}

}  // namespace

volatile uint8_t* use_hw() {
    release();
    make_dir();
    const std::string file = g_dir + "/physmem";
    const int fd = ::open(file.c_str(), O_RDWR | O_CREAT, 0600);
    if (fd < 0 || ::ftruncate(fd, 0x41301000) != 0) std::abort();
    const off_t window = 0x17000000;
    poke(fd, window + 0x9008, 0x00);  // every slot present
    poke(fd, window + 0x9046, 0x07);  // eight slots
    for (int slot = 0; slot < 8; ++slot) poke(fd, window + (slot + 1) * 0x1000, 0x21);
    ::close(fd);
    ::setenv("VEXSDK_TARGET", "hw", 1);
    ::setenv("VEXSDK_PHYSMEM", file.c_str(), 1);
    ::setenv("VEXSDK_REGISTRY", (g_dir + "/registry.db").c_str(), 1);
    plat::reload_target();
    frame::library_attach();
    g_attached = true;
    return _vex_map(0);
}

void use_sim() {
    release();
    make_dir();
    g_instance = "bench" + std::to_string(::getpid());
    ::setenv("VEXSDK_SIM_DIR", g_dir.c_str(), 1);
    ::setenv("VEXSDK_TARGET", ("sim:" + g_instance).c_str(), 1);
    ::unsetenv("VEXSDK_PHYSMEM");
    ::unsetenv("VEXSDK_REGISTRY");
    plat::reload_target();
    frame::library_attach();
    g_attached = true;
}

void release() {
    if (g_attached) frame::library_detach();
    g_attached = false;
    // The hardware target's shared objects have no instance name.
    if (plat::target().hardware) plat::remove_shared_objects(plat::hw_object_prefix());
    if (!g_instance.empty()) sim::Instance::destroy(g_instance);
    g_instance.clear();
    if (!g_dir.empty()) {
        std::error_code ec;
        std::filesystem::remove_all(g_dir, ec);
        g_dir.clear();
    }
}

}  // namespace vex::bench
