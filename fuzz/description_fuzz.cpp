// libFuzzer target for the controller description parser: any text must
// either parse into a description within the hardware's limits or be
// refused with a reason.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "sim/description.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string error;
    const auto d = vex::sim::parse_description(text, &error);
    if (!d) {
        if (error.empty()) std::abort();
        return 0;
    }
    if (d->slot_count > vex::sim::kSlots || d->hardware_id.size() > 63) std::abort();
    for (size_t i = 0; i < d->slots.size(); ++i) {
        const auto& s = d->slots[i];
        if (i >= d->slot_count && s.kind != vex::sim::ModuleKind::Empty) std::abort();
        if (s.di_channels > 32 || s.do_channels > 32 || s.version > 31) std::abort();
    }
    return 0;
}
