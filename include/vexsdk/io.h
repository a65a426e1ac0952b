/* Digital I/O of parallel-bus modules, module watchdog, power-on and safe
 * values. Part of vexsdk.h. */
#ifndef VEXSDK_IO_H
#define VEXSDK_IO_H

#include "types.h"

VEXSDK_EXTERN_C_BEGIN

/* ---- Register-level digital I/O of parallel-bus modules ----------------
 *
 * A module in slot n is read and written through its slot page. Bit n of a
 * value is channel n. `total` is the number of digital channels of the
 * module's port; the accepted counts differ between the calls and are
 * listed with each. Only the low 8 bits of `slot` are used.
 *
 * Output latches cannot be read back (except on the read-back module type,
 * ID 0x2F with capability bit 5), so every write is also kept in one of
 * three shadow words per slot (8-, 16- and 32-channel), shared by all
 * processes of the controller and zero until first written. Shadows exist
 * for slots 0..7 only: for slots 8 and above a shadow reads 0 and a write
 * stores nothing. Registers are reached only in the pages of slots 0..7;
 * for a higher slot reads see a floating bus (all ones) and nothing is
 * written. No call here takes a lock. */

/**
 * @brief Drives the outputs.
 * total 32: four bytes to offsets 0x00, 0x02, 0x04, 0x06; 16: two bytes to
 * 0x00, 0x02; 4, 5, 6 or 8: one byte to 0x00. On the single-slot controller
 * 16 and 8 channels go to the only slot's page whatever `slot` says. Fails
 * without a code for any other count (7 included) and when the read-back
 * module's watchdog has expired while this process has not permitted
 * overwriting (vex_SetModuleWDTConfig); fails with VEX_ERR_INVALID_SLOT for
 * a slot beyond the slot count (not checked on the single-slot controller,
 * where a 32-channel write still needs a slot below 8). The whole value goes
 * to the shadow, bits above the module's width included.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param total Number of digital channels of the module's port.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL _vex_WriteDO(uint32_t slot, int32_t total, uint32_t value);
/**
 * @brief The outputs as last written:
 * total <= 8 (zero and negative counts too) the 8-channel shadow, 9..16 the
 * 16-channel shadow, 17 and more the read-back registers of the read-back
 * module type, otherwise the 32-channel shadow. The slot is not checked
 * against the slot count.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param total Number of digital channels of the module's port.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_ReadDO(uint32_t slot, int32_t total);
/**
 * @brief Sets (bit's low byte non-zero) or clears one channel:
 * reads the value with _vex_ReadDO and writes it back with _vex_WriteDO for
 * total 32, 16 or 4..8 (7 is refused there); other counts write nothing. A
 * channel whose low byte is 32 or more changes no bit but still rewrites the
 * value. Another process's change between the read and the write can be
 * lost.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param total Number of digital channels of the module's port.
 * @param channel Channel number, counted from 0.
 * @param bit New state of the channel: non-zero on, zero off.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_WriteDOBit(uint32_t slot, int32_t total, uint32_t channel, uint32_t bit);
/**
 * @brief The inputs (registers are active low and are inverted):
 * total 1..4 four bits, 5..8 eight, 9..16 sixteen, any other count (0,
 * negative, 17 or more) all 32.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param total Number of digital channels of the module's port.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_ReadDI(uint32_t slot, int32_t total);

/* ---- Module watchdog and last output source -----------------------------
 *
 * A module watchdog drives the module's outputs to its stored safe value
 * when the host stops refreshing it, and the module then refuses output
 * writes until it is reset. `address` is a module address: below 0x1000 a
 * local slot (low 8 bits), 0x1000 and above a serial module at bus address
 * (address - 0x1000) reached through `port`. The port is ignored for
 * parallel-bus modules.
 *
 * Serial modules (remote, or ID 255 in a local slot) are not reached by
 * this release: those calls fail with VEX_ERR_NOT_SUPPORTED.
 *
 * The watchdog enable flag and the overwrite permission are kept per
 * process (slots 0..7; initially disabled and permitted); the module's
 * registers are shared, so another process sees the module's real timeout
 * but its own flags. Except for the status and last-source queries, an
 * empty local slot is not an error: the call does nothing and returns
 * VEX_TRUE. The parallel-bus side sets no error codes. */

/**
 * @brief VEX_TRUE while the module's watchdog has expired; VEX_FALSE otherwise
 *   and for an empty slot.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_GetModuleWDTStatus(VEX_PORT port, int32_t address);
/**
 * @brief As vex_GetModuleWDTStatus.
 * `status` receives the serial module's status word; for a parallel-bus
 * module it is left untouched.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param status Status value, or where it is stored.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_GetModuleWDTStatusEX(VEX_PORT port, int32_t address, uint16_t *status);
/**
 * @brief Feeds the watchdog (then waits 5 ms).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_RefreshModuleWDT(VEX_PORT port, int32_t address);
/**
 * @brief Re-arms an expired watchdog (then waits 5 ms).
 * The outputs stay at the safe value until the host writes them again.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_ResetModuleWDT(VEX_PORT port, int32_t address);
/**
 * @brief Stores this process's overwrite permission for the slot (non-zero =
 *   writes to an expired read-back module are still attempted), writes the
 *   timeout (seconds; the module counts half-seconds:
 * timeout x 2, at least 1, low 8 bits, so 128 s and more wrap), stores and
 * writes the enable flag (non-zero = on), then refreshes as
 * vex_RefreshModuleWDT.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param enable Non-zero to enable, zero to disable.
 * @param timeout Time-out.
 * @param overwrite Overwrite permission, or where it is stored.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_SetModuleWDTConfig(VEX_PORT port, int32_t address, int16_t enable, uint32_t timeout,
                                           VEX_BOOL32 overwrite);
/**
 * @brief The enable flag and overwrite permission this process last set, and
 *   the module's timeout in seconds (its register divided by 2).
 * Null pointers are skipped.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param enable Non-zero to enable, zero to disable.
 * @param timeout Time-out.
 * @param overwrite Overwrite permission, or where it is stored.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_GetModuleWDTConfig(VEX_PORT port, int32_t address, int16_t *enable, uint32_t *timeout,
                                           VEX_BOOL32 *overwrite);
/**
 * @brief What last drove the module's outputs:
 * the module's own code, 0..15 (the virtual controller's modules use 0 = the
 * host or the reset state, 1 = the power-on value, 2 = the safe value after
 * watchdog expiry). No presence check. -1 when a serial module's status
 * cannot be read.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API int16_t vex_GetModuleLastOutputSource(VEX_PORT port, int32_t address);

/* ---- Module watchdog interrupt ------------------------------------------
 *
 * A parallel-bus module whose capability byte has 001 in bits 5..7 can
 * raise its slot's interrupt when its watchdog runs out (while enabled with
 * vex_SetModuleWDTInterruptStatus). The library serves it with a fixed
 * handler per slot, on the slot's interrupt service thread (see vexsdk/irq.h
 * for what that means for the callback): the handler switches the module's
 * watchdog off (0 to 0x1C), which drops the module's interrupt line, calls
 * `callback` with the slot number, and acknowledges. Slots 0..7 only. */

/**
 * @brief Checks the module (ID below 255, capability bits 5..7 = 001;
 *   otherwise VEX_FALSE without a code), sets the slot's trigger type to level
 *   (1), stores `callback` (may be null:
 * the handler then only switches the watchdog off), registers the slot
 * interrupt with the slot's handler and sets its priority to 50. The result
 * is the registration's (see vex_RegisterSlotInterrupt for its codes); the
 * callback is stored even when the slot was registered already.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param callback Function the library calls on its service thread; may be
 *   null.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_SLOT_REGISTERED (0x10001): the slot is registered already ("Slot registered
 *     error").
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 *   - VEX_ERR_SLOT_IN_USE (0x10009): the slot is in use (no message).
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_InitModuleWDTInterrupt(uint32_t slot, VEX_SLOT_CALLBACK callback);
/**
 * @brief Stores `status` (this process's own, returned by the next call).
 * Low 16 bits non-zero: enables the module's watchdog interrupt (2 to 0x22)
 * and the slot interrupt; zero: disables both (0 to 0x22) and unregisters
 * the slot interrupt. Always VEX_TRUE.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param status Status value, or where it is stored.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_SLOT_NOT_REGISTERED (0x10002): the slot is not registered ("Slot not registered
 *     error").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_SetModuleWDTInterruptStatus(uint32_t slot, int16_t status);
/**
 * @brief The status this process last stored for the slot (initially 0).
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int16_t vex_GetModuleWDTInterruptStatus(uint32_t slot);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_IO_H */
