// One kernel interrupt as this process receives it: the platform's side of
// a binding (platform/interrupt.h). Implemented by the hardware target's
// UIO device and by the virtual controller's delivery.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vex::plat {

class InterruptSource {
public:
    virtual ~InterruptSource() = default;
    // A descriptor that becomes readable when the interrupt may have fired.
    virtual int fd() const = 0;
    // Takes what made fd() readable, without waiting. True when the
    // interrupt fired at least once since the last take. One caller at a
    // time (the binding serialises).
    virtual bool take() = 0;
};

// The UIO device of interrupt `id` on the hardware target: the device
// named uio_device_name(id) among /sys/class/uio/*/name, or the file of that
// name in the directory $VEXSDK_UIO (a FIFO stands in for a device there:
// each 4-byte count written to it is one occurrence).
std::unique_ptr<InterruptSource> open_uio_source(uint32_t id, std::string* error);

}  // namespace vex::plat
