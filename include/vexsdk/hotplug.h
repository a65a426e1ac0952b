/* Hot-plug notification. Part of vexsdk.h.
 *
 * When a module is plugged into or pulled out of the backplane while the
 * controller runs, the backplane sets its hot-plug pending bit (bit 3 of
 * 0x900E) if hot-plug notification is enabled (bit 3 of 0x900A). Both bits
 * are hardware state shared by every process.
 *
 * A program registers a window to be told: the registration is only a
 * registry record, one volatile key per window,
 *     HKEY_LOCAL_MACHINE\VORLAN\HotPlug\HWND<window in upper-case hex>
 * holding the REG_DWORD values "HWND" (the window) and "MSGID" (the message
 * to post). A system component reads these and posts the messages; the
 * keys vanish when the controller restarts. Registry failures are ignored
 * and nothing is recorded in the last error. Thread-safe. */
#ifndef VEXSDK_HOTPLUG_H
#define VEXSDK_HOTPLUG_H

#include "types.h"

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief Creates VORLAN\HotPlug when needed and the window's volatile key, and
 *   writes its values.
 * Registering a window again keeps one key and the latest message number.
 * @param window Window handle the messages go to.
 * @param message Message number to post.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_RegistryHotPlug(uint32_t window, uint32_t message);
/**
 * @brief Deletes the window's key.
 * @param window Window handle the messages go to.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_UnregistryHotPlug(uint32_t window);
/**
 * @brief Low byte non-zero:
 * enables hot-plug notification; zero: disables it. Other bits of the
 * register are kept.
 * @param enable Non-zero to enable, zero to disable.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_EnableHotPlug(VEX_BOOL32 enable);
/**
 * @brief VEX_TRUE while hot-plug notification is enabled.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL32 vex_GetHotPlugStatus(void);
/**
 * @brief Clears the pending bit.
 * The register is read, bit 3 set and the value written back; since writing
 * 1 clears a bit of that register, this also acknowledges a backplane timer
 * tick pending at that moment.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_ClearHotPlug(void);
/**
 * @brief VEX_TRUE while a hot-plug event is pending.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL32 vex_GetHotPlugIRQState(void);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_HOTPLUG_H */
