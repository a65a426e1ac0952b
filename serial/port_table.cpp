#include "serial/port_table.h"

#include <cstring>
#include <new>
#include <utility>

#include "vexsdk.h"

namespace vex::serial {
namespace {

// Lock rules. g_map_lock guards g_map (the process's port table, replaced
// by vex_CreateComPortMap and the load sequence), the list of records in
// it, and g_next_handle; any thread takes it, briefly, to find, add or drop
// a record, and never holds it across a port's I/O (records are shared
// pointers: a port found stays alive while used). g_last_state_lock guards
// g_last_state, written by every open and line drive. Neither lock is held
// while the other is taken. Constant-initialised: the unload sequence may
// run after other static destructors.
plat::CheckedMutex g_map_lock;
ComPortMap* g_map = nullptr;
uint32_t g_next_handle = 0x1000;

std::mutex g_last_state_lock;
plat::ComSettings g_last_state;

std::atomic<uint32_t> g_read_timeout{kDefaultReadTimeout};

bool handle_in_use(uint32_t handle) {
    VEX_ASSERT_HELD(g_map_lock);
    if (!g_map) return false;
    for (const PortPtr& r : g_map->records) {
        if (r->handle == handle) return true;
    }
    return false;
}

PortPtr find_locked(uint32_t handle) {
    VEX_ASSERT_HELD(g_map_lock);
    if (!g_map) return nullptr;
    for (const PortPtr& r : g_map->records) {
        if (r->handle == handle) return r;
    }
    return nullptr;
}

}  // namespace

PortRecord::PortRecord(uint32_t h, std::unique_ptr<plat::ComPort> p, std::string name)
    : handle(h), port_name(std::move(name)), port(std::move(p)), terminator_("\r") {}

PortRecord::~PortRecord() {
    stop_monitor(*this);
    if (port) port->cancel();
}

size_t PortRecord::copy_terminator(char* out) const {
    std::lock_guard lock(terminator_mutex_);
    std::memcpy(out, terminator_.data(), terminator_.size());
    return terminator_.size();
}

void PortRecord::set_terminator(const char* text) {
    size_t n = 0;
    while (n < kMaxTerminator && text[n] != '\0') ++n;
    std::lock_guard lock(terminator_mutex_);
    terminator_.assign(text, n);
    terminator_start_.store(n > 0 ? text[0] : '\0', std::memory_order_relaxed);
}

plat::CheckedMutex& com_port_map_lock() { return g_map_lock; }

ComPortMap* create_port_map() {
    auto* map = new (std::nothrow) ComPortMap;
    if (!map) return nullptr;
    ComPortMap* old;
    {
        std::lock_guard lock(g_map_lock);
        old = g_map;
        g_map = map;
    }
    // Outside the lock: closing joins monitor threads.
    delete old;
    return map;
}

uint32_t register_port(std::unique_ptr<plat::ComPort> port, const std::string& name) {
    std::lock_guard lock(g_map_lock);
    if (!g_map) return kInvalidHandle;
    uint32_t handle;
    do {
        handle = g_next_handle++;
    } while (rejected(handle) || handle_in_use(handle));
    g_map->records.push_back(std::make_shared<PortRecord>(handle, std::move(port), name));
    return handle;
}

PortPtr unregister_port(uint32_t handle) {
    std::lock_guard lock(g_map_lock);
    if (!g_map) return nullptr;
    for (auto it = g_map->records.begin(); it != g_map->records.end(); ++it) {
        if ((*it)->handle == handle) {
            PortPtr r = std::move(*it);
            g_map->records.erase(it);
            return r;
        }
    }
    return nullptr;
}

PortPtr find_port(uint32_t handle) {
    std::lock_guard lock(g_map_lock);
    return find_locked(handle);
}

PortPtr find_port_by_name(const std::string& name) {
    std::lock_guard lock(g_map_lock);
    if (!g_map) return nullptr;
    for (const PortPtr& r : g_map->records) {
        if (r->port_name == name) return r;
    }
    return nullptr;
}

bool set_checksum(uint32_t handle, bool enabled) {
    std::lock_guard lock(g_map_lock);
    PortPtr r = find_locked(handle);
    if (!r) return false;
    r->checksum_enabled = enabled;
    return true;
}

bool set_terminator(uint32_t handle, const char* text) {
    std::lock_guard lock(g_map_lock);
    PortPtr r = find_locked(handle);
    if (!r) return false;
    r->set_terminator(text);
    return true;
}

plat::ComSettings last_comm_state() {
    std::lock_guard lock(g_last_state_lock);
    return g_last_state;
}

void set_last_comm_state(const plat::ComSettings& settings) {
    std::lock_guard lock(g_last_state_lock);
    g_last_state = settings;
}

uint32_t read_timeout() { return g_read_timeout.load(std::memory_order_relaxed); }
void set_read_timeout(uint32_t ms) { g_read_timeout.store(ms, std::memory_order_relaxed); }

void attach() {
    set_read_timeout(kDefaultReadTimeout);
    set_last_comm_state(plat::ComSettings{});
    vex_CreateComPortMap();
}

void detach() {
    ComPortMap* map;
    {
        std::lock_guard lock(g_map_lock);
        map = g_map;
        g_map = nullptr;
    }
    delete map;
}

}  // namespace vex::serial

VEXSDK_EXTERN_C_BEGIN

void* vex_CreateComPortMap(void) { return vex::serial::create_port_map(); }

VEXSDK_EXTERN_C_END
