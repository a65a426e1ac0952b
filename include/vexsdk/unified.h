/* Unified I/O: one address names a module wherever it is, and the library
 * picks the path. Part of vexsdk.h.
 *
 * Address (signed 32-bit, compared as signed):
 *   address < 0x1000             local slot (address & 0xFF; other bits and a
 *                                negative sign are ignored). An empty slot, or
 *                                a slot of 8 or above, fails with
 *                                VEX_ERR_UNKNOWN_MODULE. The slot's ID register
 *                                decides: 255 is a serial module, reached over
 *                                `port` (the internal port COM0:) after slot
 *                                selection and addressed as 00; anything else
 *                                is a parallel-bus module, driven through its
 *                                registers (the port is then ignored).
 *   0x1000 .. 0xFFFFF            the serial module at bus address
 *                                (address - 0x1000): 0x1001 is module 01.
 *   0x100000 and above           slot (bits 0..7) of the remote expansion unit
 *                                at bus address (bits 8..15): 0x100203 is slot
 *                                3 of unit 02. Commands carry both.
 *
 * Parallel-bus modules have digital I/O only: the analog, latch and counter
 * calls refuse them with VEX_ERR_UNKNOWN_MODULE. The analog output value
 * calls accept them and do nothing (reads give 0).
 *
 * Results: VEX_TRUE on success; VEX_FALSE with a code in the calling
 * thread's last error (the serial codes are those of modules.h). Outputs are
 * written only on success, except the analog input readings, which are also
 * stored when they carry a range marker. A null output pointer fails with
 * VEX_ERR_UART_BUFFER_OVERFLOW before the address is looked at.
 *
 * Any value of any argument is safe: counts and channels only choose field
 * widths and masks.
 */
#ifndef VEXSDK_UNIFIED_H
#define VEXSDK_UNIFIED_H

#include "types.h"

/* Readings the unbounded all-inputs calls may store. */
#define VEX_AI_ALL_MAX 32

VEXSDK_EXTERN_C_BEGIN

/* ---- Digital inputs and outputs ------------------------------------------ */

/**
 * @brief Reads the digital inputs of the module at an address.
 * Parallel-bus module: the input registers (active low), as _vex_ReadDI. Serial
 * module: "@AA" (unit slot: "$UUS<s>6"); bit n is input n.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param di_count the module's number of inputs (1..32).
 * @param value receives the inputs; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_ReadDI(VEX_PORT port, int32_t address, int32_t di_count, uint32_t *value);

/**
 * @brief Reads back the digital outputs of the module at an address.
 * Parallel-bus module: the output shadow, or the read-back registers of the
 * read-back module type, as _vex_ReadDO. Serial module: the output part of "@AA".
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param do_count the module's number of outputs (1..32).
 * @param value receives the outputs; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_ReadDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t *value);

/**
 * @brief Reads the inputs and the outputs of the module at an address in one call.
 * Parallel-bus module: the outputs first, then the inputs. Serial module: one
 * "@AA" (unit slot "$UUS<s>6") gives both.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param di_count number of inputs.
 * @param do_count number of outputs.
 * @param di_value receives the inputs; written only on success.
 * @param do_value receives the outputs; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_ReadDIO(VEX_PORT port, int32_t address, int32_t di_count, int32_t do_count, uint32_t *di_value,
                                uint32_t *do_value);

/**
 * @brief Drives all digital outputs of the module at an address.
 * Parallel-bus module: _vex_WriteDO (a count of 1..3, 7, 9..15 or 17..31, or
 * outputs held by the module's watchdog, fail without a code). Serial module:
 * "@AA" + the value masked to the outputs (unit slot "#UUS<s>00.." or "@UUS<s>..").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param do_count the module's number of outputs.
 * @param value bit n drives output n.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_INVALID_SLOT (0x10008): a parallel-bus write to a slot at or beyond the slot count.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module's watchdog holds its outputs (serial modules).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): an answer field that is not a number, or a value too wide for the command.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_WriteDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value);

/**
 * @brief Drives one digital output of the module at an address.
 * Parallel-bus module: _vex_WriteDOBit, which always succeeds (a refused word
 * write inside it is not reported). Serial module: "#AA" + group A..D + bit +
 * value; for a unit slot the command goes to the unit's address without a slot
 * field, as the unit's command set has it.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param do_count the module's number of outputs.
 * @param channel the output (0..do_count-1).
 * @param value non-zero drives it on (serial modules get the value as two decimal digits).
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module's watchdog holds its outputs (serial modules).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): an answer field that is not a number, or a value too wide for the command.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_WriteDOBit(VEX_PORT port, int32_t address, int32_t do_count, int32_t channel, int32_t value);

/* ---- Power-on and safe digital output values ------------------------------ */

/**
 * @brief Reads the stored power-on value of a module's digital outputs.
 * Parallel-bus module: parameters 0..4 of the module (0 when its power-on value is disabled).
 * Serial module: "~AA4P" (unit slot "~UUS<s>4P"); with a do_count outside 1..32 the
 * module is first asked its number of outputs ("~AAD").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param do_count the module's number of outputs (chooses the field width).
 * @param value receives the value; written only on success.
 * @return VEX_TRUE on success (always on a parallel-bus module), VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t *value);

/**
 * @brief Stores the power-on value of a module's digital outputs.
 * Parallel-bus module: parameters 1..4 get the value, then parameter 0 gets 1 if it is non-zero, else 0 (zero means disabled).
 * Serial module: the outputs are driven to the value, then after 10 ms "~AA5P"
 * (unit slot "~UUS<s>5P") has the module keep its present outputs.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param do_count the module's number of outputs.
 * @param value the value, bit n for output n.
 * @return VEX_TRUE on success (always on a parallel-bus module), VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module's watchdog holds its outputs (serial modules).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value);

/**
 * @brief Reads the stored safe value of a module's digital outputs.
 * Parallel-bus module: parameters 9..12 of the module, then a 1 ms pause.
 * Serial module: "~AA4S" (unit slot "~UUS<s>4S"); with a do_count outside 1..32 the
 * module is first asked its number of outputs ("~AAD").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param do_count the module's number of outputs (chooses the field width).
 * @param value receives the value; written only on success.
 * @return VEX_TRUE on success (always on a parallel-bus module), VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t *value);

/**
 * @brief Stores the safe value of a module's digital outputs.
 * Parallel-bus module: parameters 9..12 get the value, least significant byte first.
 * Serial module: the outputs are driven to the value, then after 10 ms "~AA5S"
 * (unit slot "~UUS<s>5S") has the module keep its present outputs.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param do_count the module's number of outputs.
 * @param value the value, bit n for output n.
 * @return VEX_TRUE on success (always on a parallel-bus module), VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module's watchdog holds its outputs (serial modules).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value);

/* ---- Latches and counters (serial modules only) --------------------------- */

/**
 * @brief Reads an input latch of the serial module at an address ("$AAL<k>", unit slot "$UUS<s>L<k>").
 * Serial modules only: latch 1 holds the inputs that went on, latch 0 those that
 * went off, since the last clear.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param di_count the module's number of inputs.
 * @param latch which latch, 0 or 1 (one decimal digit).
 * @param value receives the latched inputs; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadDILatch(VEX_PORT port, int32_t address, int32_t di_count, int32_t latch, uint32_t *value);

/**
 * @brief Reads an input and an output latch of the serial module at an address.
 * Serial modules only: latch 1 holds the inputs that went on, latch 0 those that
 * went off, since the last clear.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param di_count number of inputs.
 * @param do_count number of outputs.
 * @param latch which latch, 0 or 1.
 * @param di_latch receives the input latch; written only on success.
 * @param do_latch receives the output latch; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadDIOLatch(VEX_PORT port, int32_t address, int32_t di_count, int32_t do_count, int32_t latch,
                                     uint32_t *di_latch, uint32_t *do_latch);

/**
 * @brief Clears the latches of the serial module at an address ("$AAC", unit slot "$UUS<s>C").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ClearDILatch(VEX_PORT port, int32_t address);

/**
 * @brief Clears the latches of the serial module at an address ("$AAC", unit slot "$UUS<s>C").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ClearDIOLatch(VEX_PORT port, int32_t address);

/**
 * @brief Reads an input counter of the serial module at an address.
 * "#AA" + the channel in one hexadecimal digit (two above 16 inputs); unit slot
 * "#UUS<s>C<n>". An 8-character answer is decimal, others hexadecimal.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the counter.
 * @param di_count the module's number of inputs (chooses the channel field).
 * @param count receives the count; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadDICNT(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count, uint32_t *count);

/**
 * @brief Clears an input counter of the serial module at an address ("$AAC<n>", unit slot "$UUS<s>C<n>").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the counter.
 * @param di_count the module's number of inputs (chooses the channel field).
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ClearDICNT(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count);

/**
 * @brief Reads a counter of the serial module at an address, channel in one digit.
 * "#AA<n>" (unit slot "#UUS<s>C<n>"); a 12-character answer or one with a sign is
 * decimal, others hexadecimal.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the counter (one hexadecimal digit).
 * @param count receives the count; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadCNT(VEX_PORT port, int32_t address, int32_t channel, uint32_t *count);

/**
 * @brief Clears a counter of the serial module at an address ("$AAC<n>").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the counter (one hexadecimal digit).
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ClearCNT(VEX_PORT port, int32_t address, int32_t channel);

/**
 * @brief Would tell whether a counter went past its top; no module can answer it.
 * Serial modules wrap their counters without telling (the command set has no
 * question for it): a serial module fails with VEX_ERR_CARD_API_UNSUPPORTED
 * and *overflow is left as it was. Kept so that programs that call it link.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the counter.
 * @param overflow never written.
 * @return VEX_FALSE.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_CARD_API_UNSUPPORTED (0x15001): the module kind cannot do this.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadCNTOverflow(VEX_PORT port, int32_t address, int32_t channel, uint32_t *overflow);

/* ---- Analog inputs and outputs (serial modules only) ---------------------- */

/**
 * @brief Reads one analog input of the serial module at an address, in engineering units.
 * "#AA" (one input), "#AA<n>" (up to 16) or "#AA<nn>"; unit slot "#UUS<s>C<n>". A
 * reading at a range marker is stored and the call fails with the range code.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the input.
 * @param channel_count the module's number of inputs (chooses the channel field).
 * @param value receives the reading.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_UNDER_RANGE (0x14004): the input is below its range (the reading is stored).
 *   - VEX_ERR_UART_OVER_RANGE (0x14005): the input is above its range (the reading is stored).
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadAI(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count, float *value);

/**
 * @brief Reads one analog input of the serial module at an address as a raw count.
 * As vex_ReadAI, the address printed in lower case ("#1a3"), four hexadecimal
 * digits read.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the input.
 * @param channel_count the module's number of inputs.
 * @param value receives the count (0..0xFFFF).
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_UNDER_RANGE (0x14004): the input is below its range (the reading is stored).
 *   - VEX_ERR_UART_OVER_RANGE (0x14005): the input is above its range (the reading is stored).
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadAIHex(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count, uint32_t *value);

/**
 * @brief Reads all analog inputs of the serial module at an address ("#AA", unit slot "#UUS<s>").
 * `values` must have room for VEX_AI_ALL_MAX readings; readings beyond that are
 * not stored. Every reading that parses is stored, also when one fails the call.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param values array of at least VEX_AI_ALL_MAX floats.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_UNDER_RANGE (0x14004): the input is below its range (the reading is stored).
 *   - VEX_ERR_UART_OVER_RANGE (0x14005): the input is above its range (the reading is stored).
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadAIAll(VEX_PORT port, int32_t address, float *values);

/**
 * @brief Reads all analog inputs of the serial module at an address as raw counts.
 * `values` must have room for VEX_AI_ALL_MAX counts (four hexadecimal digits each).
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param values array of at least VEX_AI_ALL_MAX counts.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_UNDER_RANGE (0x14004): the input is below its range (the reading is stored).
 *   - VEX_ERR_UART_OVER_RANGE (0x14005): the input is above its range (the reading is stored).
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadAIAllHex(VEX_PORT port, int32_t address, uint32_t *values);

/**
 * @brief Reads all analog inputs of the serial module at an address into a bounded array.
 * At most `capacity` readings are stored (a negative capacity counts as 0);
 * *count says how many the module gave, which may be more.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param values array of `capacity` floats (may be null when capacity is 0).
 * @param capacity room in `values`.
 * @param count receives the number of readings in the answer.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_UNDER_RANGE (0x14004): the input is below its range (the reading is stored).
 *   - VEX_ERR_UART_OVER_RANGE (0x14005): the input is above its range (the reading is stored).
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadAIAllExt(VEX_PORT port, int32_t address, float *values, int32_t capacity, int32_t *count);

/**
 * @brief Reads all analog inputs of the serial module at an address as raw counts into a bounded array.
 * As vex_ReadAIAllExt, four hexadecimal digits per input.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param values array of `capacity` counts.
 * @param capacity room in `values`.
 * @param count receives the number of counts in the answer.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_UNDER_RANGE (0x14004): the input is below its range (the reading is stored).
 *   - VEX_ERR_UART_OVER_RANGE (0x14005): the input is above its range (the reading is stored).
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadAIAllHexExt(VEX_PORT port, int32_t address, uint32_t *values, int32_t capacity, int32_t *count);

/**
 * @brief Drives one analog output of the serial module at an address.
 * "#AA[n]" + sign + "%06.3f" of the magnitude (no '+' below 3 outputs); unit slot
 * "#UUS<s>C<n>" + sign + value. An answer of exactly "!" is a refusal.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the output.
 * @param channel_count the module's number of outputs.
 * @param value in engineering units.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module's watchdog holds its outputs (serial modules).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): an answer field that is not a number, or a value too wide for the command.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_WriteAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count, float value);

/**
 * @brief Reads back one analog output of the serial module at an address ("$AA6[n]", unit slot "$UUS<s>C<n>6").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the output.
 * @param channel_count the module's number of outputs.
 * @param value receives the value; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, is 8 or above, or holds a parallel-bus module (no analog, latch or counter path on the bus).
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; exchanges with local slots are serialised with every slot selection, threads sharing a bus port must serialise their calls on it.
 */
VEXSDK_API VEX_BOOL vex_ReadAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count, float *value);

/**
 * @brief Reads the stored power-on value of an analog output.
 * Parallel-bus module: VEX_TRUE and 0 (the bus stores no analog values). Serial
 * module: the kind is asked ("$AAM") and only kinds that can tell it are asked
 * ("$AA7n" or "~AA7n"); an address of 0x100000 and above is taken as the local
 * slot of its low byte.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the output.
 * @param channel_count the module's number of outputs.
 * @param value receives the value; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_CARD_API_UNSUPPORTED (0x15001): the module kind cannot do this.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                                 float *value);

/**
 * @brief Reads the stored safe value of an analog output.
 * Parallel-bus module: VEX_TRUE and 0. Serial module: "~AA4[n]"; an address of
 * 0x100000 and above is taken as the local slot of its low byte.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the output.
 * @param channel_count the module's number of outputs.
 * @param value receives the value; written only on success.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a null output pointer (checked before anything else), or an answer field that is not a number.
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                              float *value);

/**
 * @brief Stores the power-on value of an analog output.
 * Parallel-bus module: VEX_TRUE, nothing is touched. Serial module: the output is
 * driven to the value, then after 10 ms kept as power-on value ("$AA4[n]", "$AAS"
 * on the kind that uses it; unit slot "$UUS<s>C<n>4").
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the output.
 * @param channel_count the module's number of outputs.
 * @param value in engineering units.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): an answer field that is not a number, or a value too wide for the command.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                                  float value);

/**
 * @brief Stores the safe value of an analog output.
 * Parallel-bus module: VEX_TRUE, nothing is touched. Serial module: the output is
 * driven to the value, then after 10 ms kept as safe value ("~AA5[n]"); an address
 * of 0x100000 and above is taken as the local slot of its low byte.
 * @param port handle of the open serial port the module is reached through (COM0: for local slots); ignored for a parallel-bus module.
 * @param address I/O address: local slot, 0x1000 + bus address, or 0x100000 | unit << 8 | slot.
 * @param channel the output.
 * @param channel_count the module's number of outputs.
 * @param value in engineering units.
 * @return VEX_TRUE on success, VEX_FALSE with the code in the last error.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot is empty, or is 8 or above.
 *   - VEX_ERR_UART_OPEN (0x14006): a serial module was addressed with a port handle of 0 or 0xFFFFFFFF (nothing is sent).
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, or the wrong leading character.
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): an answer field that is not a number, or a value too wide for the command.
 * @thread Safe from any thread; on a parallel-bus module no lock is taken (register accesses), serial modules as for the other calls of this header.
 */
VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                               float value);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_UNIFIED_H */
