/* inventory: prints what sits in the controller's slots.
 * Build against an installed SDK:
 *   cc inventory.c $(pkg-config --cflags --libs vexsdk) -o inventory
 * or with CMake: find_package(vexsdk) + target_link_libraries(app vexsdk::vexsdk). */
#include <stdio.h>

#include <vexsdk.h>

int main(void) {
    char version[16];
    uint32_t slot;
    uint32_t slots = vex_GetSlotCount();

    if (vex_GetBackplaneID(version) > 0) printf("backplane %s, ", version);
    printf("%u slots\n", slots);
    for (slot = 0; slot < slots; ++slot) {
        if (!_vex_slot_exists(slot)) {
            printf("slot %u: empty\n", slot);
            continue;
        }
        printf("slot %u: module ID 0x%02X\n", slot, _vex_slot_inp(slot, 0));
    }
    return 0;
}
