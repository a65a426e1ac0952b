/* Serial I/O modules: digital and analog I/O, counters, latches, the
 * module's host watchdog, power-on and safe values. Part of vexsdk.h.
 *
 * A serial module answers short ASCII commands over a COM port (framing,
 * checksum and time-outs are the port's: see serial.h). The caller opens
 * the port and passes its handle; these calls never open or close one.
 *
 * Addresses. The _MF calls take an I/O address:
 *   0x1000 .. 0xFFFFF   a module on a bus at address (address - 0x1000);
 *   anything else       a module in local slot (address & 0xFF), reached
 *                       over `port` (the backplane's internal port COM0:)
 *                       after the library has selected the slot. Before
 *                       anything is sent, a local slot whose ID register
 *                       reads below 255 (a parallel-bus module) fails with
 *                       VEX_ERR_UNKNOWN_MODULE.
 * vexsund_ calls take a local slot, zed_ calls a bus address (0..255).
 *
 * Channel counts are the module's (the caller knows its type); they choose
 * the width of the fields in commands and answers. Any count and any bit
 * or channel number is safe: values are masked to the channels, and a bit
 * outside 0..count-1 (or 32 and above) reads 0.
 *
 * Results: VEX_TRUE on success; VEX_FALSE with a code in the calling
 * thread's last error. What an answer means is judged per command, then
 * always reported with the same code:
 *
 *   answer                                             code
 *   --------------------------------------------------  -----------------------------------
 *   port handle 0 or 0xFFFFFFFF (nothing sent)          VEX_ERR_UART_OPEN          0x14006
 *   local slot holds a parallel-bus module (_MF)        VEX_ERR_UNKNOWN_MODULE     0x10003
 *   no answer, cut or garbled answer, bad checksum,     VEX_ERR_UART_RESPONSE      0x14003
 *     wrong leading character, '?' refusal of a
 *     command other than an output write
 *   output refused (the module's watchdog holds its     VEX_ERR_DO_NO_OVERWRITE    0x1500A
 *     outputs; analog outputs report this code too)
 *   a field of the answer is not a number               VEX_ERR_UART_BUFFER_OVERFLOW 0x14008
 *   analog input under range                            VEX_ERR_UART_UNDER_RANGE   0x14004
 *   analog input over range                             VEX_ERR_UART_OVER_RANGE    0x14005
 *   the module kind cannot do this                      VEX_ERR_CARD_API_UNSUPPORTED 0x15001
 *   a null output argument, or a value too wide for     VEX_ERR_UART_BUFFER_OVERFLOW 0x14008
 *     the command (nothing sent)
 *
 * Fields are read strictly: a hexadecimal field holds hexadecimal digits
 * only, a decimal one decimal digits, an engineering value a sign, digits
 * and one point; anything else is a garbled answer (0x14008), never a
 * value. After any failure the next exchange on the port works as usual
 * (stale input is purged before each command).
 *
 * Outputs: on failure the caller's variables are left as they were, except
 * where a call says otherwise.
 *
 * Threads: any thread may call any of these. Commands to local slots are
 * serialised with every other slot selection of the process; commands to
 * bus modules are serialised per port only, so threads that share a bus
 * port must not run exchanges on it at the same time. No state is kept
 * between calls.
 */
#ifndef VEXSDK_MODULES_H
#define VEXSDK_MODULES_H

#include "types.h"

VEXSDK_EXTERN_C_BEGIN

/* ---- Digital I/O (_MF) --------------------------------------------------- */

/**
 * @brief Writes all outputs:
 * "@AADO" + value masked to do_count channels, in 2, 4, 6 or 8 hexadecimal
 * digits (do_count < 9, < 17, 17..24, > 24). Succeeds on an answer beginning
 * with '!'; a '?' answer is VEX_ERR_DO_NO_OVERWRITE.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module refused the output: its watchdog holds the
 *     outputs ("DO output cannot be overwrite!").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_WriteDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value);
/**
 * @brief Reads inputs and outputs with "@AADI" (the DO part first, the DI part
 *   last), each masked to its byte width.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param di_count Number of the module's digital inputs.
 * @param do_count Number of the module's digital outputs.
 * @param di_value Receives the inputs, bit n for channel n.
 * @param do_value Receives the outputs, bit n for channel n.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDIO_MF(VEX_PORT port, int32_t address, int32_t di_count, int32_t do_count,
                                   uint32_t* di_value, uint32_t* do_value);
/**
 * @brief Reads a serial module's inputs with "@AADI".
 * Reads inputs and outputs with "@AADI" (the DO part first, the DI part
 * last), each masked to its byte width.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param di_count Number of the module's digital inputs.
 * @param di_value Receives the inputs, bit n for channel n.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDI_MF(VEX_PORT port, int32_t address, int32_t di_count, uint32_t* di_value);
/**
 * @brief Reads a serial module's outputs with "@AADI".
 * Reads inputs and outputs with "@AADI" (the DO part first, the DI part
 * last), each masked to its byte width.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param do_count Number of the module's digital outputs.
 * @param do_value Receives the outputs, bit n for channel n.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t* do_value);
/**
 * @brief Reads one input bit of a serial module:
 * value is 1 or 0. One bit of the inputs or outputs: *value is 1 or 0. On
 * failure *value is 0 (the bit of an empty reading).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param bit New state of the channel: non-zero on, zero off.
 * @param di_count Number of the module's digital inputs.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDIO_DIBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t di_count,
                                         int32_t do_count, uint8_t* value);
/**
 * @brief Reads one output bit of a serial module:
 * value is 1 or 0. One bit of the inputs or outputs: *value is 1 or 0. On
 * failure *value is 0 (the bit of an empty reading).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param bit New state of the channel: non-zero on, zero off.
 * @param di_count Number of the module's digital inputs.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDIO_DOBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t di_count,
                                         int32_t do_count, uint8_t* value);
/**
 * @brief Reads one input bit of a serial module:
 * value is 1 or 0. One bit of the inputs or outputs: *value is 1 or 0. On
 * failure *value is 0 (the bit of an empty reading).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param bit New state of the channel: non-zero on, zero off.
 * @param di_count Number of the module's digital inputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDIBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t di_count, uint8_t* value);
/**
 * @brief Reads one output bit of a serial module:
 * value is 1 or 0. One bit of the inputs or outputs: *value is 1 or 0. On
 * failure *value is 0 (the bit of an empty reading).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param bit New state of the channel: non-zero on, zero off.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDOBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t do_count, uint8_t* value);
/**
 * @brief Input counter `channel`:
 * "@AARE" for a module with one counter (di_count 1), else "@AAREC" with the
 * channel in one hexadecimal digit (up to 16 inputs) or two. An 8-character
 * answer is decimal, others hexadecimal.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param di_count Number of the module's digital inputs.
 * @param count Count (see the description).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadDICNT_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count,
                                     uint32_t* count);
/**
 * @brief Clears input counter `channel` ("@AACE", "@AACEC" + channel).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param di_count Number of the module's digital inputs.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ClearDICNT_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count);

/**
 * @brief Sets or clears one output of the serial module in a local slot.
 * One output: "#AA" + group 'A'..'D' + bit within the group + value as two
 * decimal digits ("#01B101": bit 9 of 16 on). Succeeds on '>'. vexsund_: the
 * module in local slot (slot & 0xFF); a slot beyond the slot count fails
 * with VEX_ERR_INVALID_SLOT before anything is sent; a '!' answer is
 * VEX_ERR_DO_NO_OVERWRITE. zed_: the module at a bus address; any answer but
 * '>' is VEX_ERR_UART_RESPONSE; more than 32 outputs send an empty command.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param bit New state of the channel: non-zero on, zero off.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module refused the output: its watchdog holds the
 *     outputs ("DO output cannot be overwrite!").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vexsund_WriteDOBit(VEX_PORT port, uint32_t slot, int32_t bit, int32_t do_count, int32_t value);
/**
 * @brief Sets or clears one output of the serial module at a bus address.
 * One output: "#AA" + group 'A'..'D' + bit within the group + value as two
 * decimal digits ("#01B101": bit 9 of 16 on). Succeeds on '>'. vexsund_: the
 * module in local slot (slot & 0xFF); a slot beyond the slot count fails
 * with VEX_ERR_INVALID_SLOT before anything is sent; a '!' answer is
 * VEX_ERR_DO_NO_OVERWRITE. zed_: the module at a bus address; any answer but
 * '>' is VEX_ERR_UART_RESPONSE; more than 32 outputs send an empty command.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param module_address Bus address of the serial module (0..255).
 * @param bit New state of the channel: non-zero on, zero off.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module refused the output: its watchdog holds the
 *     outputs ("DO output cannot be overwrite!").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL zed_WriteDOBit(VEX_PORT port, uint32_t module_address, int32_t bit, int32_t do_count,
                                   int32_t value);

/* ---- Power-on and safe digital output values (_MF) ------------------------ */

/**
 * @brief Reads the power-on value stored in a serial module's digital outputs.
 * Reads both stored values with "~AA4" and gives the power-on (first) or
 * safe (second) one, each 2, 4, 6 or 8 hexadecimal digits wide as for
 * vex_WriteDO_MF.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count,
                                                    uint32_t* value);
/**
 * @brief Reads the safe value stored in a serial module's digital outputs.
 * Reads both stored values with "~AA4" and gives the power-on (first) or
 * safe (second) one, each 2, 4, 6 or 8 hexadecimal digits wide as for
 * vex_WriteDO_MF.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t* value);
/**
 * @brief Drives a serial module's outputs to value and stores it as their
 *   power-on value.
 * Drives the outputs to `value` (vex_WriteDO_MF; its failure stops here with
 * its code), waits 10 ms, reads both stored values and sends "~AA5" with the
 * new value in its field and the other kept.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module refused the output: its watchdog holds the
 *     outputs ("DO output cannot be overwrite!").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count,
                                                     uint32_t value);
/**
 * @brief Drives a serial module's outputs to value and stores it as their safe
 *   value.
 * Drives the outputs to `value` (vex_WriteDO_MF; its failure stops here with
 * its code), waits 10 ms, reads both stored values and sends "~AA5" with the
 * new value in its field and the other kept.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param do_count Number of the module's digital outputs.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module refused the output: its watchdog holds the
 *     outputs ("DO output cannot be overwrite!").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value);

/* ---- Analog outputs (_MF) -------------------------------------------------- *
 * `channel_count` is the module's number of outputs: a single-output module
 * has no channel field, up to 16 one hexadecimal digit, more two. Values
 * are sent as "%06.3f" of their magnitude, '-' before negative ones, '+'
 * before others on modules with 3 or more outputs; a value that is not a
 * finite number or does not fit the command fails with
 * VEX_ERR_UART_BUFFER_OVERFLOW before anything is sent. */

/**
 * @brief Drives one output.
 * An answer of exactly "!" is a refusal (VEX_ERR_DO_NO_OVERWRITE).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param channel_count Number of the module's analog channels.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_DO_NO_OVERWRITE (0x1500A): the module refused the output: its watchdog holds the
 *     outputs ("DO output cannot be overwrite!").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_WriteAO_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                   float value);
/**
 * @brief The output's present value ("$AA6").
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param channel_count Number of the module's analog channels.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadAO_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                  float* value);
/**
 * @brief Drives a serial module's analog output to value and stores it as its
 *   power-on value.
 * Drive the output to `value`, wait 10 ms, and store it as power-on value
 * ("$AA4", or "$AAS" on the kind that uses it, asked with "$AAM") or as safe
 * value ("~AA5"). A failed output write fails with VEX_ERR_UART_RESPONSE.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param channel_count Number of the module's analog channels.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                     int32_t channel_count, float value);
/**
 * @brief Drives a serial module's analog output to value and stores it as its
 *   safe value.
 * Drive the output to `value`, wait 10 ms, and store it as power-on value
 * ("$AA4", or "$AAS" on the kind that uses it, asked with "$AAM") or as safe
 * value ("~AA5"). A failed output write fails with VEX_ERR_UART_RESPONSE.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param channel_count Number of the module's analog channels.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                  int32_t channel_count, float value);
/**
 * @brief The stored power-on value:
 * asks the module's kind ("$AAM"); kinds that cannot tell it (see
 * docs/catalogue.md) fail with VEX_ERR_CARD_API_UNSUPPORTED.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param channel_count Number of the module's analog channels.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 *   - VEX_ERR_CARD_API_UNSUPPORTED (0x15001): the module kind cannot do this ("IO card does not
 *     support this API function!").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                    int32_t channel_count, float* value);
/**
 * @brief The stored safe value ("~AA4").
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param channel Channel number, counted from 0.
 * @param channel_count Number of the module's analog channels.
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UNKNOWN_MODULE (0x10003): the local slot holds a parallel-bus module ("Unknown
 *     Module").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                 int32_t channel_count, float* value);

/* ---- Host watchdog of a module ---------------------------------------------
 * A module whose host stops talking to it for longer than its time-out sets
 * its outputs to their safe values and keeps a time-out state. vexsund_
 * calls reach the module in a local slot (a bad port is reported by the
 * exchange, so as VEX_ERR_UART_RESPONSE); zed_ calls the module at a bus
 * address (a bad port is VEX_ERR_UART_OPEN). */

/**
 * @brief Configures the host watchdog of the serial module in a local slot.
 * enable > 0 arms it; timeout (low 8 bits) is in the module's unit.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param enable Non-zero to enable, zero to disable.
 * @param timeout Time-out.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vexsund_SetModuleWDTConfig(VEX_PORT port, uint32_t slot, int16_t enable, uint32_t timeout);
/**
 * @brief Configures the host watchdog of the serial module at a bus address.
 * enable > 0 arms it; timeout (low 8 bits) is in the module's unit.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param module_address Bus address of the serial module (0..255).
 * @param enable Non-zero to enable, zero to disable.
 * @param timeout Time-out.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL zed_SetModuleWDTConfig(VEX_PORT port, uint32_t module_address, int16_t enable, uint32_t timeout);
/**
 * @brief Reads whether the host watchdog of the serial module in a local slot
 *   has timed out.
 * status is 1 while the module's watchdog has timed out, else 0.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param status Status value, or where it is stored.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vexsund_GetModuleWDTStatus(VEX_PORT port, uint32_t slot, uint16_t* status);
/**
 * @brief Reads whether the host watchdog of the serial module at a bus address
 *   has timed out.
 * status is 1 while the module's watchdog has timed out, else 0.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param module_address Bus address of the serial module (0..255).
 * @param status Status value, or where it is stored.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL zed_GetModuleWDTStatus(VEX_PORT port, uint32_t module_address, uint16_t* status);
/**
 * @brief Reads the host watchdog configuration of the serial module in a local
 *   slot.
 * The configuration: enabled 0 or 1 and the time-out, which vexsund_ reads
 * back as hexadecimal digits and zed_ as decimal ones (so zed_ gives 50
 * where vexsund_ gives 0x50 for the same answer).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param enabled Receives the enable flag.
 * @param timeout Time-out.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vexsund_GetModuleWDTConfig(VEX_PORT port, uint32_t slot, uint16_t* enabled, uint32_t* timeout);
/**
 * @brief Reads the host watchdog configuration of the serial module at a bus
 *   address.
 * The configuration: enabled 0 or 1 and the time-out, which vexsund_ reads
 * back as hexadecimal digits and zed_ as decimal ones (so zed_ gives 50
 * where vexsund_ gives 0x50 for the same answer).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param module_address Bus address of the serial module (0..255).
 * @param enabled Receives the enable flag.
 * @param timeout Time-out.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL zed_GetModuleWDTConfig(VEX_PORT port, uint32_t module_address, uint16_t* enabled,
                                           uint32_t* timeout);
/**
 * @brief Clears the time-out state of the serial module in a local slot.
 * Clears the time-out state. A '!' answer of other than 3 characters fails
 * without a code of its own (the last error is then 0).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vexsund_ResetModuleWDT(VEX_PORT port, uint32_t slot);
/**
 * @brief Clears the time-out state of the serial module at a bus address.
 * Clears the time-out state. A '!' answer of other than 3 characters fails
 * without a code of its own (the last error is then 0).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param module_address Bus address of the serial module (0..255).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_RESPONSE (0x14003): no answer, a cut or garbled one, a bad checksum, the
 *     wrong leading character, or a refusal ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL zed_ResetModuleWDT(VEX_PORT port, uint32_t module_address);
/**
 * @brief Sends "~**":
 * every module on the line takes it as the host being alive. Sends "~**",
 * which every module on the line takes as the host being alive; no answer is
 * awaited. The result is the send's (uart_Send).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL vexsund_RefreshModuleWDT(VEX_PORT port);
/**
 * @brief Sends "~**":
 * every module on the bus takes it as the host being alive. Sends "~**",
 * which every module on the line takes as the host being alive; no answer is
 * awaited. The result is the send's (uart_Send).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port handle is 0 or 0xFFFFFFFF (nothing is sent) ("Open
 *     COM port failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a field of the answer is not a number, an output
 *     pointer is null, or a value is too wide for the command ("Internal buffer overflow").
 * @thread Any thread. Commands to local slots are serialised with every other
 *   slot selection of the process; threads that share a bus port must not run
 *   exchanges on it at the same time.
 */
VEXSDK_API VEX_BOOL zed_RefreshModuleWDT(VEX_PORT port);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_MODULES_H */
