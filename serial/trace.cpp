#include "serial/trace.h"

#include <atomic>

#include "platform/system.h"

namespace vex::serial {
namespace {

std::atomic<Tracer> g_tracer{nullptr};

}  // namespace

void set_tracer(Tracer tracer) { g_tracer.store(tracer, std::memory_order_release); }

void trace(uint32_t handle, TraceDirection direction, const void* data, size_t size) {
    const Tracer t = g_tracer.load(std::memory_order_acquire);
    if (t && size > 0) t(handle, direction, static_cast<const uint8_t*>(data), size, plat::monotonic_ns());
}

}  // namespace vex::serial
