/* Library frame: backplane window, slots, controller identity, text
 * helpers. Part of vexsdk.h. */
#ifndef VEXSDK_FRAME_H
#define VEXSDK_FRAME_H

#include "types.h"

/* Size of the backplane register window and the page of each slot. */
#define VEX_BACKPLANE_WINDOW_SIZE 0x10000u
#define VEX_SLOT_PAGE_SIZE 0x1000u
VEXSDK_EXTERN_C_BEGIN

/* Load-time entry points. The library calls pub_Orvale_Init itself when it
 * is loaded; it returns 1 if it mapped the window now, 0 if already mapped.
 * pub_Orvale_Deinit unmaps but keeps the stored base, so a later
 * pub_Orvale_Init does not map again. pub_VEX_Init/Deinit do nothing. */
VEXSDK_API int32_t pub_Orvale_Init(void);
VEXSDK_API void pub_Orvale_Deinit(void);
VEXSDK_API int32_t pub_VEX_Init(void);
VEXSDK_API void pub_VEX_Deinit(void);

/* Register accessors. Unchecked on purpose: offsets are not bounded to the
 * window and slots are not checked against the slot count. On hardware
 * each is a single load or store on the uncached mapping. */
VEXSDK_API volatile uint8_t *_vex_map(uint32_t offset);
VEXSDK_API volatile uint16_t *_vex_get_base_address(void);
VEXSDK_API uint32_t _vex_get_slot_offset(uint32_t slot);
/* Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset. */
VEXSDK_API uint32_t _vex_slot_map(uint32_t slot, uint32_t offset);
VEXSDK_API uint32_t _vex_inp(uint32_t offset);
VEXSDK_API void _vex_outp(uint32_t offset, uint32_t value);
VEXSDK_API uint32_t _vex_inpw(uint32_t offset);
VEXSDK_API void _vex_outpw(uint32_t offset, uint32_t value);
VEXSDK_API uint32_t _vex_slot_inp(uint32_t slot, uint32_t offset);
VEXSDK_API void _vex_slot_outp(uint32_t slot, uint32_t offset, uint32_t value);
VEXSDK_API uint32_t _vex_slot_inpw(uint32_t slot, uint32_t offset);
VEXSDK_API void _vex_slot_outpw(uint32_t slot, uint32_t offset, uint32_t value);
/* Not supported on these controllers: VEX_ERR_NOT_SUPPORTED, returns 0. */
VEXSDK_API uint32_t _vex_slot_addr(uint32_t slot);
/* TRUE when the slot's presence bit is 0. Slots 8 and above have no bit and
 * always report TRUE. */
VEXSDK_API VEX_BOOL _vex_slot_exists(uint32_t slot);
/* The processor's free-running OS timer counter (3.25 MHz). */
VEXSDK_API uint32_t _vex_oscr0(void);
/* One discarded read of the OS timer counter: a short bus delay. */
VEXSDK_API void _vex_refresh_screen(void);
/* Not supported: VEX_ERR_NOT_SUPPORTED, returns 0. */
VEXSDK_API uint32_t _vex_get_CPUtype(void);

/* Controller identity and backplane. */
VEXSDK_API uint32_t vex_GetCPUID(void);
VEXSDK_API uint32_t vex_GetSlotCount(void);
/* Writes "1.0.<version>.0" (buffer of at least 10 bytes); returns the
 * characters written. The single-slot model has no backplane: empty text. */
VEXSDK_API int32_t vex_GetBackplaneID(char *buffer);
/* DIP switch state (active bits set), or -1 on the single-slot model. */
VEXSDK_API int32_t vex_GetDIPSwitch(void);
VEXSDK_API void vex_ResetBackplane(void);
/* Routes the internal serial port to a slot (slot 8 and above: none). */
VEXSDK_API void vex_ChangeSlot(uint32_t slot);

/* Message pumping. Linux threads have no message queue: both return 0
 * ("no message") at once. */
VEXSDK_API int32_t vex_DoEvent(void);
VEXSDK_API int32_t vex_DoEvents(void);

/* Text conversions between wide strings and UTF-8. The destination holds
 * 2048 bytes (or wide characters); the result counts what was written,
 * terminating NUL included, or 0 on failure. */
VEXSDK_API int32_t vex_WideToAnsiString(const wchar_t *src, char *dst);
VEXSDK_API int32_t vex_WideStringToAnsi(const wchar_t *src, char *dst);
VEXSDK_API int32_t vex_AnsiToWideString(const char *src, wchar_t *dst);

/* The directory of the running executable, with a trailing '/'. */
VEXSDK_API VEX_BOOL vex_GetCurrentDirectoryW(wchar_t *buffer, uint32_t size);
VEXSDK_API VEX_BOOL vex_GetCurrentDirectory(char *buffer, uint32_t size);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_FRAME_H */
