/* Non-volatile memory: battery-backed SRAM, the serial EEPROM and the
 * timekeeping chip's RAM ("NVRAM"), as byte arrays. Part of vexsdk.h.
 *
 * Areas and addresses (address and length are unsigned 32-bit; "end" is
 * address + length, computed without wrapping):
 *
 *   type 0 SRAM    user area 0x70000 bytes: accepted when end + 0x10000 <=
 *                  0x80000 (SRAM byte address + 0x10000; the first 64 KiB
 *                  belong to the system). System area: address >= 0x1000000
 *                  reaches SRAM byte address - 0x1000000. The single-slot
 *                  controllers (model codes 5 and 52) have none: FALSE,
 *                  nothing recorded.
 *   type 1 EEPROM  user area 8192 bytes: accepted when address <= 0x2000 and
 *                  end <= 0x2000 (model code 52: <= 0xE000, chip byte
 *                  address + 0x2000). System area: address >= 0x20000
 *                  reaches chip byte address - 0x20000 (the factory record
 *                  is at 0x23800).
 *   type 2 NVRAM   31 bytes, but accepted only when address <= 30 and end
 *                  <= 30: byte 30 cannot be reached (kept as the
 *                  controller's library has it).
 *
 * The inclusive bounds are deliberate: a zero-length EEPROM access at 0x2000
 * passes. A user-form test that fails records its code (VEX_ERR_SRAM_ADDRESS
 * or VEX_ERR_EEPROM_ADDRESS) before the system form is tried, and a
 * system-form access that then succeeds leaves that code recorded.
 * System-form accesses must end within the chip (the SRAM's 512 KiB, the
 * EEPROM's 16 KiB, 64 KiB on model code 52): beyond it the call fails
 * rather than wrap into another area.
 *
 * Bad input: length 0 records VEX_ERR_MEMORY_ARGUMENT and the call goes on
 * (and succeeds unless something else fails); a null buffer with a
 * non-zero length records VEX_ERR_MEMORY_ARGUMENT and returns FALSE after
 * the address checks, touching nothing. Nothing outside the requested
 * range is ever read or written.
 *
 * Threads and processes: EEPROM transfers and vex_EnableEEPROM hold the
 * cross-process lock "VEX_EEP" (robust: a program killed mid-transfer does
 * not block the others, and its unfinished page is not written). SRAM calls
 * are serialised within a process only, NVRAM calls likewise. */
#ifndef VEXSDK_MEMORY_H
#define VEXSDK_MEMORY_H

#include "types.h"

#define VEX_MEMORY_SRAM 0u
#define VEX_MEMORY_EEPROM 1u
#define VEX_MEMORY_NVRAM 2u

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief Copies length bytes of memory memType from address into buffer.
 * Codes: VEX_ERR_MEMORY_ARGUMENT, VEX_ERR_SRAM_ADDRESS,
 * VEX_ERR_EEPROM_ADDRESS, VEX_ERR_NVRAM_ADDRESS, VEX_ERR_MEMORY_TYPE,
 * VEX_ERR_EEPROM_READ (the EEPROM did not answer; buffer may then hold part
 * of the data).
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param buffer Buffer that receives the result.
 * @param length Number of bytes.
 * @param memType Memory type (see the description).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): the address lies outside the EEPROM user area; also left
 *     by a read of the system area (from 0x20000) that succeeds ("Accesses invalid EEPROM address").
 *   - VEX_ERR_SRAM_ADDRESS (0x11002): the address lies outside the SRAM ("Accesses invalid SRAM
 *     address").
 *   - VEX_ERR_MEMORY_TYPE (0x11003): the memory type is not one of the controller's ("Invalid
 *     memory type").
 *   - VEX_ERR_NVRAM_ADDRESS (0x11004): the address lies outside the NVRAM ("Accesses invalid
 *     NVRAM address").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer the read ("Read EEPROM Failed").
 *   - VEX_ERR_MEMORY_ARGUMENT (0x11008): a pointer is null or a length is out of range (no
 *     message).
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_ReadMemory(uint32_t address, uint8_t *buffer, uint32_t length, uint32_t memType);
/**
 * @brief Copies length bytes from buffer into memory memType at address.
 * Codes as vex_ReadMemory, plus VEX_ERR_EEPROM_WRITE_PROTECTED (write
 * protect is on: see vex_EnableEEPROM; nothing is sent) and
 * VEX_ERR_EEPROM_WRITE (the EEPROM stopped acknowledging; pages before the
 * failing one are written). EEPROM writes go out in 64-byte pages and wait
 * for each page's write cycle.
 * @param address Module address: below 0x1000 a local slot; from 0x1000 a
 *   serial module at bus address (address - 0x1000) on port.
 * @param buffer Buffer that receives the result.
 * @param length Number of bytes.
 * @param memType Memory type (see the description).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): the address lies outside the EEPROM user area; also left
 *     by a write to the system area (from 0x20000) that succeeds ("Accesses invalid EEPROM address").
 *   - VEX_ERR_SRAM_ADDRESS (0x11002): the address lies outside the SRAM ("Accesses invalid SRAM
 *     address").
 *   - VEX_ERR_MEMORY_TYPE (0x11003): the memory type is not one of the controller's ("Invalid memory
 *     type").
 *   - VEX_ERR_NVRAM_ADDRESS (0x11004): the address lies outside the NVRAM ("Accesses invalid NVRAM
 *     address").
 *   - VEX_ERR_EEPROM_WRITE_PROTECTED (0x11005): the EEPROM is write-protected ("EEPROM is write-
 *     protected").
 *   - VEX_ERR_EEPROM_WRITE (0x11006): the EEPROM did not take the write ("Write EEPROM Failed").
 *   - VEX_ERR_MEMORY_ARGUMENT (0x11008): a pointer is null or a length is out of range (no message).
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_WriteMemory(uint32_t address, const uint8_t *buffer, uint32_t length, uint32_t memType);
/**
 * @brief User-area size:
 * 0x70000 (SRAM; 0 on model codes 5 and 52), 8192 (EEPROM), 31 (NVRAM).
 * Other types record VEX_ERR_MEMORY_TYPE and give 0.
 * @param memType Memory type (see the description).
 * @return The value described above.
 * @errors
 *   - VEX_ERR_MEMORY_TYPE (0x11003): the memory type is not one of the controller's ("Invalid
 *     memory type").
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t vex_GetMemorySize(uint32_t memType);
/**
 * @brief Low byte non-zero:
 * write protect off (EEPROM writes allowed); zero: on. The EEPROM is write-
 * protected from power-up. Always TRUE.
 * @param enable Non-zero to enable, zero to disable.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_EnableEEPROM(uint32_t enable);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_MEMORY_H */
