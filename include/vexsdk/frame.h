/* Library frame: backplane window, slots, controller identity, text
 * helpers. Part of vexsdk.h. */
#ifndef VEXSDK_FRAME_H
#define VEXSDK_FRAME_H

#include "types.h"

/* Size of the backplane register window and the page of each slot. */
#define VEX_BACKPLANE_WINDOW_SIZE 0x10000u
#define VEX_SLOT_PAGE_SIZE 0x1000u
VEXSDK_EXTERN_C_BEGIN

/**
 * @brief Maps the backplane register window (the library calls it itself at
 *   load).
 * Load-time entry points. The library calls pub_Orvale_Init itself when it
 * is loaded; it returns 1 if it mapped the window now, 0 if already mapped.
 * pub_Orvale_Deinit unmaps but keeps the stored base, so a later
 * pub_Orvale_Init does not map again. pub_VEX_Init/Deinit do nothing.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t pub_Orvale_Init(void);
/**
 * @brief Unmaps the backplane register window but keeps its stored base.
 * Load-time entry points. The library calls pub_Orvale_Init itself when it
 * is loaded; it returns 1 if it mapped the window now, 0 if already mapped.
 * pub_Orvale_Deinit unmaps but keeps the stored base, so a later
 * pub_Orvale_Init does not map again. pub_VEX_Init/Deinit do nothing.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void pub_Orvale_Deinit(void);
/**
 * @brief Does nothing; kept for programs that call it.
 * Returns 0. Load-time entry points. The library calls pub_Orvale_Init
 * itself when it is loaded; it returns 1 if it mapped the window now, 0 if
 * already mapped. pub_Orvale_Deinit unmaps but keeps the stored base, so a
 * later pub_Orvale_Init does not map again. pub_VEX_Init/Deinit do nothing.
 * @return 0.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t pub_VEX_Init(void);
/**
 * @brief Does nothing; kept for programs that call it.
 * Load-time entry points. The library calls pub_Orvale_Init itself when it
 * is loaded; it returns 1 if it mapped the window now, 0 if already mapped.
 * pub_Orvale_Deinit unmaps but keeps the stored base, so a later
 * pub_Orvale_Init does not map again. pub_VEX_Init/Deinit do nothing.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void pub_VEX_Deinit(void);

/**
 * @brief Returns a pointer into the backplane register window at offset.
 * Register accessors. Unchecked on purpose: offsets are not bounded to the
 * window and slots are not checked against the slot count. On hardware each
 * is a single load or store on the uncached mapping.
 * @param offset Byte offset of the register.
 * @return A pointer into the backplane register window at offset.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API volatile uint8_t *_vex_map(uint32_t offset);
/**
 * @brief Returns the start of the mapped backplane register window.
 * Register accessors. Unchecked on purpose: offsets are not bounded to the
 * window and slots are not checked against the slot count. On hardware each
 * is a single load or store on the uncached mapping.
 * @return The start of the mapped backplane register window.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API volatile uint16_t *_vex_get_base_address(void);
/**
 * @brief Returns the offset of a slot's register page in the window:
 * ((slot & 0xFF) + 1) * 0x1000. Register accessors. Unchecked on purpose:
 * offsets are not bounded to the window and slots are not checked against
 * the slot count. On hardware each is a single load or store on the uncached
 * mapping.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return The offset of a slot's register page in the window: ((slot & 0xFF) + 1) * 0x1000.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_get_slot_offset(uint32_t slot);
/**
 * @brief Returns an offset (not a pointer):
 * ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param offset Byte offset of the register.
 * @return An offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_slot_map(uint32_t slot, uint32_t offset);
/**
 * @brief Reads the byte register at offset in the backplane window.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param offset Byte offset of the register.
 * @return An offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_inp(uint32_t offset);
/**
 * @brief Writes the low 8 bits of value to the byte register at offset.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param offset Byte offset of the register.
 * @param value Value to write.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_outp(uint32_t offset, uint32_t value);
/**
 * @brief Reads the 16-bit register at offset in the backplane window.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param offset Byte offset of the register.
 * @return An offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_inpw(uint32_t offset);
/**
 * @brief Writes the low 16 bits of value to the 16-bit register at offset.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param offset Byte offset of the register.
 * @param value Value to write.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_outpw(uint32_t offset, uint32_t value);
/**
 * @brief Reads the byte register at offset in the slot's page.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param offset Byte offset of the register.
 * @return An offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_slot_inp(uint32_t slot, uint32_t offset);
/**
 * @brief Writes the low 8 bits of value to the byte register at offset in the
 *   slot's page.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param offset Byte offset of the register.
 * @param value Value to write.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_slot_outp(uint32_t slot, uint32_t offset, uint32_t value);
/**
 * @brief Reads the 16-bit register at offset in the slot's page.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param offset Byte offset of the register.
 * @return An offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_slot_inpw(uint32_t slot, uint32_t offset);
/**
 * @brief Writes the low 16 bits of value to the 16-bit register at offset in
 *   the slot's page.
 * Returns an offset (not a pointer): ((slot & 0xFF) + 1) * 0x1000 + offset.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param offset Byte offset of the register.
 * @param value Value to write.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_slot_outpw(uint32_t slot, uint32_t offset, uint32_t value);
/**
 * @brief Not supported on these controllers:
 * VEX_ERR_NOT_SUPPORTED, returns 0.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_slot_addr(uint32_t slot);
/**
 * @brief TRUE when the slot's presence bit is 0.
 * Slots 8 and above have no bit and always report TRUE.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL _vex_slot_exists(uint32_t slot);
/**
 * @brief The processor's free-running OS timer counter (3.25 MHz).
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_oscr0(void);
/**
 * @brief One discarded read of the OS timer counter:
 * a short bus delay.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_refresh_screen(void);
/**
 * @brief Not supported:
 * VEX_ERR_NOT_SUPPORTED, returns 0.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_get_CPUtype(void);

/**
 * @brief Returns the controller's CPU identifier.
 * Controller identity and backplane.
 * @return The controller's CPU identifier.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t vex_GetCPUID(void);
/**
 * @brief Returns the number of I/O slots of the controller's backplane.
 * Controller identity and backplane.
 * @return The number of I/O slots of the controller's backplane.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t vex_GetSlotCount(void);
/**
 * @brief Writes "1.0.<version>.0" (buffer of at least 10 bytes); returns the
 *   characters written.
 * The single-slot model has no backplane: empty text.
 * @param buffer Buffer that receives the result.
 * @return The characters written.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetBackplaneID(char *buffer);
/**
 * @brief DIP switch state (active bits set), or -1 on the single-slot model.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetDIPSwitch(void);
/**
 * @brief Resets the backplane and the modules in its slots.
 * DIP switch state (active bits set), or -1 on the single-slot model.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_ResetBackplane(void);
/**
 * @brief Routes the internal serial port to a slot (slot 8 and above:
 * none).
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_ChangeSlot(uint32_t slot);

/**
 * @brief Pumps one message:
 * Linux threads have no message queue, so returns 0 at once. Message
 * pumping. Linux threads have no message queue: both return 0 ("no message")
 * at once.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_DoEvent(void);
/**
 * @brief Pumps all messages:
 * Linux threads have no message queue, so returns 0 at once. Message
 * pumping. Linux threads have no message queue: both return 0 ("no message")
 * at once.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_DoEvents(void);

/**
 * @brief Converts a wide string to UTF-8 into a 2048-byte destination.
 * Text conversions between wide strings and UTF-8. The destination holds
 * 2048 bytes (or wide characters); the result counts what was written,
 * terminating NUL included, or 0 on failure.
 * @param src Source text (NUL-terminated).
 * @param dst Destination buffer.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_WideToAnsiString(const wchar_t *src, char *dst);
/**
 * @brief Converts a wide string to UTF-8 into a 2048-byte destination (same as
 *   vex_WideToAnsiString).
 * Text conversions between wide strings and UTF-8. The destination holds
 * 2048 bytes (or wide characters); the result counts what was written,
 * terminating NUL included, or 0 on failure.
 * @param src Source text (NUL-terminated).
 * @param dst Destination buffer.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_WideStringToAnsi(const wchar_t *src, char *dst);
/**
 * @brief Converts a UTF-8 string to a wide string into a 2048-character
 *   destination.
 * Text conversions between wide strings and UTF-8. The destination holds
 * 2048 bytes (or wide characters); the result counts what was written,
 * terminating NUL included, or 0 on failure.
 * @param src Source text (NUL-terminated).
 * @param dst Destination buffer.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_AnsiToWideString(const char *src, wchar_t *dst);

/**
 * @brief The directory of the running executable, with a trailing '/'.
 * @param buffer Buffer that receives the result.
 * @param size Size of the buffer in bytes.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_GetCurrentDirectoryW(wchar_t *buffer, uint32_t size);
/**
 * @brief Writes the directory of the running executable, with a trailing '/',
 *   as UTF-8 (vex_GetCurrentDirectoryW in narrow text).
 * The directory of the running executable, with a trailing '/'.
 * @param buffer Buffer that receives the result.
 * @param size Size of the buffer in bytes.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_GetCurrentDirectory(char *buffer, uint32_t size);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_FRAME_H */
