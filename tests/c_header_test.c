/* The public header as a C99 program sees it: it must compile with
 * -std=c99 -pedantic and every declaration must link. */
#include <stdio.h>
#include <string.h>

#include "vexsdk.h"

int main(void) {
    wchar_t message[VEX_ERROR_MESSAGE_SIZE];
    VEX_BOOL ok;
    VEX_PORT invalid = VEX_INVALID_PORT;
    vex_SetLastError(VEX_ERR_INVALID_SLOT);
    vex_GetErrorMessage(vex_GetLastError(), message);
    if (wcscmp(message, L"Invalid Slot number") != 0) {
        fprintf(stderr, "unexpected message\n");
        return 1;
    }
    ok = _vex_slot_exists(0);
    (void)ok;
    (void)invalid;
    (void)vex_GetSlotCount();
    printf("C interface OK\n");
    return 0;
}
