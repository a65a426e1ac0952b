/* System watchdog and reboot. Part of vexsdk.h.
 *
 * A program that must not hang unnoticed arms a system watchdog and
 * refreshes it; when the refreshes stop, the watchdog resets the whole
 * controller. Two watchdogs share these calls, chosen by `type`:
 *
 *   VEX_WDT_BACKPLANE (0)  the backplane's own watchdog, in the window's
 *       base page: time 1..31 (the backplane counts seconds); refreshed by
 *       reading offset 0xF000. It lives in the backplane, so it outlives the
 *       program that armed it: another process sees it enabled.
 *   VEX_WDT_OS_TIMER (1)   match 3 of the processor's OS timer: time in
 *       milliseconds, 1 and up (the deadline is count + time x 3250 on the
 *       32-bit counter, so times above 1321528 ms wrap around). Its enabled
 *       flag and time are kept per process.
 *
 * Results. Only VEX_ERR_WDT_VALUE (0x12001) is ever recorded: a backplane
 * time outside 1..31 or an OS timer time of 0 to enable or set. Any other
 * type is not an error but answers on purpose as the controller always
 * has: vex_EnableWatchDog and vex_SetWatchDogTime return VEX_FALSE without
 * a code, vex_DisableWatchDog does nothing, vex_RefreshWatchDog returns the
 * type itself, vex_GetWatchDogState returns VEX_TRUE and vex_GetWatchDogTime
 * returns 1.
 *
 * On the backplane watchdog the library also notifies the platform after
 * enabling and before disabling it. On Linux nothing else refreshes the
 * backplane watchdog, so the notices do nothing on a real controller; the
 * virtual controller records them in its trace.
 *
 * Threads: any thread may call; calls on the same type from several
 * threads at once interleave their register accesses. */
#ifndef VEXSDK_WATCHDOG_H
#define VEXSDK_WATCHDOG_H

#include "types.h"

#define VEX_WDT_BACKPLANE 0u
#define VEX_WDT_OS_TIMER 1u

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief Arms the watchdog.
 * Backplane: writes (time + 128) to register 0, then notifies the platform.
 * OS timer: disables the match-3 interrupt, clears its status, sets match 3
 * to count + time x 3250, enables the interrupt.
 * @param type Kind selector (see the description).
 * @param time Time (see the description for the unit).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_WDT_VALUE (0x12001): the watchdog time is out of range ("Invalid WatchDog timer
 *     value").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_EnableWatchDog(uint32_t type, uint32_t time);
/**
 * @brief Disarms it.
 * Backplane: notifies the platform, then writes 0 to register 0. OS timer:
 * clears the watchdog enable bit and the match-3 interrupt.
 * @param type Kind selector (see the description).
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_DisableWatchDog(uint32_t type);
/**
 * @brief Restarts the count.
 * Backplane: returns the byte read at 0xF000. OS timer: match 3 = count +
 * stored time x 3250; returns the type (1).
 * @param type Kind selector (see the description).
 * @return The type (1).
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t vex_RefreshWatchDog(uint32_t type);
/**
 * @brief Backplane:
 * its enabled bit as the backplane reports it. OS timer: this process's
 * enabled flag.
 * @param type Kind selector (see the description).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_GetWatchDogState(uint32_t type);
/**
 * @brief Backplane:
 * the time as the backplane reports it (0..31). OS timer: the time this
 * process stored (0 before the first enable).
 * @param type Kind selector (see the description).
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t vex_GetWatchDogTime(uint32_t type);
/**
 * @brief Changes the time, keeping the enabled state (backplane); the OS timer
 *   watchdog is also refreshed with the new time.
 * @param type Kind selector (see the description).
 * @param time Time (see the description for the unit).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_WDT_VALUE (0x12001): the watchdog time is out of range ("Invalid WatchDog timer
 *     value").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_SetWatchDogTime(uint32_t type, uint32_t time);
/**
 * @brief OS timer:
 * VEX_TRUE when the controller's last reset came from a watchdog (reset
 * status bit 1). Any other type: VEX_FALSE.
 * @param type Kind selector (see the description).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_GetWatchDogResetState(uint32_t type);
/**
 * @brief Restarts the controller.
 * A real controller restarts through the kernel at once (file systems are
 * synced; programs are not asked to end): this needs the CAP_SYS_BOOT
 * privilege (root), and without it the call returns VEX_FALSE. It does not
 * return otherwise. On the virtual controller the instance power-cycles from
 * its description and the call returns VEX_TRUE. No error code is recorded.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_Reboot(void);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_WATCHDOG_H */
