// Module memory of the serial modules on file, so that power-on and safe
// values and the watchdog settings survive a restart of the instance, as
// they survive a power cycle in a real module's non-volatile memory.
//
// One fixed-size record per module entry in <instance dir>/serial-module-
// memory. A record belongs to one module: the same place (site, port,
// address, slot), the same name text and the same description digest; a
// module plugged or described anew starts from its description.
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "platform/target.h"
#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

constexpr uint32_t kMagic = 0x4D535856;  // "VXSM"

struct Record {
    uint32_t magic;
    uint32_t born;
    uint8_t site, address, slot, pad0;
    char port[20];
    char name[16];
    uint8_t wdt_enabled, wdt_timeout, pad1[2];
    uint32_t do_power_on, do_safe;
    float ao_power_on[kSerialChannels];
    float ao_safe[kSerialChannels];
};
static_assert(sizeof(Record) == 316);

std::string path_of(const State& s) {
    return plat::instance_dir(std::string(s.instance, strnlen(s.instance, sizeof s.instance))) +
           "/serial-module-memory";
}

Record key_of(const State& s, const SerialModuleState& m) {
    Record r{};
    r.magic = kMagic;
    r.born = m.born;
    r.site = m.site;
    r.address = m.address;
    r.slot = m.slot;
    if (m.port < kSerialBusPorts) std::memcpy(r.port, s.serial.ports[m.port].name, sizeof s.serial.ports[m.port].name);
    std::memcpy(r.name, m.name, sizeof r.name);
    return r;
}

bool same_module(const Record& a, const Record& b) {
    return a.magic == b.magic && a.born == b.born && a.site == b.site && a.address == b.address &&
           a.slot == b.slot && std::memcmp(a.port, b.port, sizeof a.port) == 0 &&
           std::memcmp(a.name, b.name, sizeof a.name) == 0;
}

off_t offset_of(int index) { return static_cast<off_t>(index) * static_cast<off_t>(sizeof(Record)); }

}  // namespace

void memory_save(const State& s, int index) {
    const SerialModuleState& m = s.serial.modules[index];
    Record r = key_of(s, m);
    r.wdt_enabled = m.wdt_enabled;
    r.wdt_timeout = m.wdt_timeout;
    r.do_power_on = m.do_power_on;
    r.do_safe = m.do_safe;
    std::memcpy(r.ao_power_on, m.ao_power_on, sizeof r.ao_power_on);
    std::memcpy(r.ao_safe, m.ao_safe, sizeof r.ao_safe);
    const int fd = ::open(path_of(s).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return;  // no instance directory: the module keeps its memory until power-off
    if (::pwrite(fd, &r, sizeof r, offset_of(index)) != static_cast<ssize_t>(sizeof r)) {
        // As above: only persistence is lost.
    }
    ::close(fd);
}

bool memory_load(State& s, int index) {
    SerialModuleState& m = s.serial.modules[index];
    const int fd = ::open(path_of(s).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    Record r{};
    const ssize_t n = ::pread(fd, &r, sizeof r, offset_of(index));
    ::close(fd);
    if (n != static_cast<ssize_t>(sizeof r) || !same_module(r, key_of(s, m))) return false;
    m.wdt_enabled = r.wdt_enabled;
    m.wdt_timeout = r.wdt_timeout;
    m.do_power_on = r.do_power_on;
    m.do_safe = r.do_safe;
    std::memcpy(m.ao_power_on, r.ao_power_on, sizeof r.ao_power_on);
    std::memcpy(m.ao_safe, r.ao_safe, sizeof r.ao_safe);
    return true;
}

}  // namespace vex::sim::serial
