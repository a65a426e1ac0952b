/* Device information: versions, build stamps, serial number, MAC addresses,
 * rotary switch, batteries and the library's own version. Part of vexsdk.h.
 *
 * Most facts come from the 56-byte factory record in the EEPROM's system
 * area (read with vex_ReadMemory(0x23800, buf, 56, VEX_MEMORY_EEPROM), which
 * leaves VEX_ERR_EEPROM_ADDRESS recorded even when it succeeds, as every
 * system-area access does). When the record cannot be read, the read error
 * is recorded and the facts are formatted from an erased record (all bytes
 * 0xFF): "255255255255" for a version, "5A5A5A5A5A5A5A5A" for the serial
 * number, "FFFFFFFFFFFF" for a MAC address.
 *
 * Text results are NUL-terminated narrow strings in caller buffers; a
 * buffer of VEX_DEVICE_TEXT_SIZE characters always suffices (the exact
 * longest result is given with each call). A null buffer gets nothing and
 * the call returns 0 (null for vex_GetSDKVersion). Results count the
 * characters written without the NUL. Every call may run on any thread. */
#ifndef VEXSDK_DEVICE_H
#define VEXSDK_DEVICE_H

#include "types.h"

#define VEX_DEVICE_TEXT_SIZE 40
/* The library's version, as text and as a number (one byte per part). */
#define VEX_SDK_VERSION_TEXT "4.3.3.0"
#define VEX_SDK_VERSION 0x04030300u

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief "1.0.<v>.0" with v the CPU board version (at most 9 characters).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetCPUVersion(char *text);
/**
 * @brief Writes the operating system image's four version numbers as
 *   "%02d%02d%02d%02d".
 * The four version numbers of the operating system image / the boot loader
 * as "%02d%02d%02d%02d" (8 characters; at most 12 for an unprogrammed
 * record).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): left even on success: the factory record lies in the
 *     EEPROM system area, and every read there first fails the user-area test ("Accesses invalid
 *     EEPROM address").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer; the record reads as all ones
 *     ("Read EEPROM Failed").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetOSVersion(char *text);
/**
 * @brief Writes the boot loader's four version numbers as "%02d%02d%02d%02d".
 * The four version numbers of the operating system image / the boot loader
 * as "%02d%02d%02d%02d" (8 characters; at most 12 for an unprogrammed
 * record).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): left even on success: the factory record lies in the
 *     EEPROM system area, and every read there first fails the user-area test ("Accesses invalid
 *     EEPROM address").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer; the record reads as all ones
 *     ("Read EEPROM Failed").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetEbootVersion(char *text);
/**
 * @brief Writes the operating system image's build stamp as "YYYY/MM/DD
 *   hh:mm:ss".
 * The build stamp of the operating system image / the boot loader as
 * "YYYY/MM/DD hh:mm:ss" (19 characters; at most 35 for an unprogrammed
 * record), into text and, converted, into wideText; either may be null.
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @param wideText Buffer that receives the wide text; may be null.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): left even on success: the factory record lies in the
 *     EEPROM system area, and every read there first fails the user-area test ("Accesses invalid
 *     EEPROM address").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer; the record reads as all ones
 *     ("Read EEPROM Failed").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetOSBuild_DATE_TIME(char *text, wchar_t *wideText);
/**
 * @brief Writes the boot loader's build stamp as "YYYY/MM/DD hh:mm:ss".
 * The build stamp of the operating system image / the boot loader as
 * "YYYY/MM/DD hh:mm:ss" (19 characters; at most 35 for an unprogrammed
 * record), into text and, converted, into wideText; either may be null.
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @param wideText Buffer that receives the wide text; may be null.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): left even on success: the factory record lies in the
 *     EEPROM system area, and every read there first fails the user-area test ("Accesses invalid
 *     EEPROM address").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer; the record reads as all ones
 *     ("Read EEPROM Failed").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetEbootBuild_DATE_TIME(char *text, wchar_t *wideText);
/**
 * @brief The silicon serial number as 16 hexadecimal digits (byte 0 first, the
 *   last byte its CRC-8), or "5A5A5A5A5A5A5A5A" when the CRC-8 (Dallas/Maxim,
 *   reflected polynomial 0x8C) does not match:
 * no valid number is stored.
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): left even on success: the factory record lies in the
 *     EEPROM system area, and every read there first fails the user-area test ("Accesses invalid
 *     EEPROM address").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer; the record reads as all ones
 *     ("Read EEPROM Failed").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetSerialNumber(char *text);
/**
 * @brief The MAC address of adapter 1 ("LAN1") or 2 ("LAN2") as 12 hexadecimal
 *   digits.
 * Any other index, 0 included, records VEX_ERR_INVALID_MAC and gives
 * "FFFFFFFFFFFF".
 * @param index Adapter: 1 (LAN1) or 2 (LAN2).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_INVALID_MAC (0x10004): the index is not 1 or 2 ("Invalid MAC address").
 *   - VEX_ERR_EEPROM_ADDRESS (0x11001): left even on success: the factory record lies in the
 *     EEPROM system area, and every read there first fails the user-area test ("Accesses invalid
 *     EEPROM address").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer; the record reads as all ones
 *     ("Read EEPROM Failed").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetMacAddress(uint8_t index, char *text);
/**
 * @brief Stores the MAC address of adapter 1 or 2, given as exactly twelve
 *   hexadecimal digits (either case).
 * Reads the factory record, replaces the address and writes the record back
 * with write protect off, all under one hold of the EEPROM lock; write
 * protect is on afterwards. Another index, a null, short, long or non-
 * hexadecimal text records VEX_ERR_INVALID_MAC and writes nothing; a record
 * that cannot be read is not written back (VEX_ERR_EEPROM_READ); a failed
 * write records VEX_ERR_EEPROM_WRITE. FALSE in those cases, TRUE otherwise.
 * @param index Adapter: 1 (LAN1) or 2 (LAN2).
 * @param mac MAC address text or bytes.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_INVALID_MAC (0x10004): the MAC address cannot be read or is malformed ("Invalid
 *     MAC address").
 *   - VEX_ERR_EEPROM_WRITE (0x11006): the EEPROM did not take the write ("Write EEPROM Failed").
 *   - VEX_ERR_EEPROM_READ (0x11007): the EEPROM did not answer the read ("Read EEPROM Failed").
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL _vex_set_mac_address(uint8_t index, const wchar_t *mac);
/**
 * @brief Copies VEX_SDK_VERSION_TEXT into text and returns text.
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return The pointer described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API char *vex_GetSDKVersion(char *text);
/**
 * @brief TRUE when version (one byte per part) is at most VEX_SDK_VERSION.
 * @param version Version number to compare with the library's.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_CheckSDKVersion(uint32_t version);
/**
 * @brief The rotary switch position, 0..15.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetRotaryID(void);
/**
 * @brief Battery 1 or 2:
 * 1 when it is fine, 0 when it is low; any other index 0. The single-slot
 * controller (model code 5) cannot tell: records VEX_ERR_NOT_SUPPORTED and
 * returns 0.
 * @param index Battery: 1 or 2.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetBatteryLevel(uint32_t index);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_DEVICE_H */
