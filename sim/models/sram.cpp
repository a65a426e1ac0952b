// The battery-backed SRAM behind the paged window: register 0x901E selects
// a 2 KiB page, and byte k of the page sits at 0xA000 + 2k (odd addresses
// decode nothing). Pages past the SRAM's size float. The window's register
// image follows the selected page, so loads through the library's window
// pointer see the SRAM too.
#include "sim/models/memory.h"

namespace vex::sim::models {
namespace {

constexpr uint32_t kWindow = 0xA000;
constexpr uint32_t kPageBytes = 2048;

// The SRAM byte an offset of the window reaches, or -1.
int64_t locate(const State& s, uint32_t offset) {
    const uint32_t k = offset - kWindow;
    if (k & 1u) return -1;
    const uint32_t byte = static_cast<uint32_t>(s.chips.sram.page) * kPageBytes + k / 2;
    return byte < s.chips.sram.size ? static_cast<int64_t>(byte) : -1;
}

uint8_t value_at(State& s, uint32_t offset) {
    const ChipImages* im = chip_images(s);
    const int64_t at = locate(s, offset);
    if (!im || at < 0) return 0xFF;
    const ChipFaults& f = s.chips.sram.faults;
    return static_cast<uint8_t>((im->sram[at] & ~f.stuck_mask) | (f.stuck_value & f.stuck_mask));
}

}  // namespace

void sram_select_page(State& s, uint8_t page, bool refresh) {
    if (page == s.chips.sram.page && !refresh) return;  // the window already shows it
    s.chips.sram.page = page;
    for (uint32_t off = kWindow; off < kWindow + 2 * kPageBytes; off += 2) s.image[off] = value_at(s, off);
}

uint8_t sram_read(State& s, uint32_t offset) { return value_at(s, offset); }

void sram_write(State& s, uint32_t offset, uint8_t value) {
    ChipImages* im = chip_images(s);
    const int64_t at = locate(s, offset);
    if (!im || at < 0) return;
    im->sram[at] = value;
    s.image[offset] = value_at(s, offset);
}

}  // namespace vex::sim::models
