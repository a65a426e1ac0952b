// A window on the bytes the serial transport moves: when a tracer is set,
// every write and every chunk read on any port is handed to it with the
// time, before the exchange goes on. For tools (vexctl serial --trace) and
// tests; off by default, and then it costs one atomic load per chunk.
//
// The tracer runs on the thread that moves the bytes, with the port's send
// or receive lock held: it must be quick and must not use the port.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::serial {

enum class TraceDirection : uint8_t { Sent, Received };
using Tracer = void (*)(uint32_t handle, TraceDirection direction, const uint8_t* data, size_t size,
                        uint64_t monotonic_ns);

// Sets (or, with null, removes) the process's tracer.
void set_tracer(Tracer tracer);
// Hands bytes to the tracer, if one is set.
void trace(uint32_t handle, TraceDirection direction, const void* data, size_t size);

}  // namespace vex::serial
