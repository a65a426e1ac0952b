/* Module identification: what sits in a slot. Part of vexsdk.h.
 *
 * A parallel-bus module tells its kind by the ID register of its slot page
 * (and a few further registers that tell variants apart); the library
 * knows the IDs of the product catalogue. A serial module in a slot (ID
 * 255) is asked for its name over the internal port "COM0:". IDs the
 * catalogue does not know are looked up in a name file beside the running
 * program: "modulename.ini" ("KVmodulename.ini" for the expansion boards
 * of the single-slot controller), one section per ID in lower-case
 * hexadecimal without prefix ("[2f]"), with the keys ModuleType (a class
 * number: 1 = 0xE3, 2 = 0xE0, 3 = 0xE2, 4 = 0xC3, 5 = 0xC0, 6 = 0xC2,
 * 7 = 0x80, any other number is the class itself) and ModuleName. The file
 * is UTF-8 text, or UTF-16 with a byte-order mark; its rules are those of
 * the library's profile reader (docs/catalogue.md).
 *
 * Type classes: 0x80 digital I/O, 0x81 digital I/O with read-back and
 * module watchdog, 0xC0 counter, 0xC2 analog input, 0xC3 analog output,
 * 0xE0, 0xE2, 0xE3 communication modules; 0x40 a module neither the
 * catalogue nor the name file knows (its name is "Unknow").
 *
 * Slot arguments use their low 8 bits. The library remembers, per slot and
 * per process, the series number and class it last resolved; on the
 * single-slot controller vex_GetModuleType answers that remembered class
 * of slot 0 (set by vex_GetModuleName) without reading the hardware.
 */
#ifndef VEXSDK_IDENTIFY_H
#define VEXSDK_IDENTIFY_H

#include "types.h"

/* Size the name buffers of vex_GetModuleName(_DOTNET) must have, in
 * characters, terminating NUL included; longer names are cut. */
#define VEX_MODULE_NAME_SIZE 64

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief Tells whether a module sits in a local slot.
 * The whole address is checked against the slot count (not its low 8
 * bits), so bus addresses (0x1000 and above) always fail the check.
 * @param port Unused: the serial branch cannot be reached.
 * @param address Slot number, 0 .. slot count - 1.
 * @return VEX_TRUE when the slot's presence bit shows a module.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): address negative or at or beyond the slot count.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_ModuleExists(VEX_PORT port, int32_t address);

/**
 * @brief Answers the type class of the module in a slot.
 * On the single-slot controller it answers the class vex_GetModuleName
 * last resolved for slot 0 (0 before that) and reads nothing.
 * @param slot Slot number (low 8 bits).
 * @return The class (0x40 for an unknown module); 0 for an empty or invalid slot.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is at or beyond the slot count.
 * @thread Safe from any thread.
 */
VEXSDK_API uint8_t vex_GetModuleType(uint32_t slot);

/**
 * @brief Writes the model name of the module in a slot.
 * Parallel-bus modules are named by the catalogue (model number and
 * suffix, or a fixed name), then by the name file; a serial module in
 * the slot is asked with "$00M" over "COM0:", which is opened for the
 * call (115200 baud, 8N1) and closed again when no port of the process
 * has it open. Expansion boards of the single-slot controller print as
 * "KV" and three digits.
 * @param slot Slot number (low 8 bits).
 * @param buffer At least VEX_MODULE_NAME_SIZE bytes; receives the name, ""
 *   for an empty slot, "Invalid slot" for a bad slot, "Sund Module" when
 *   a serial module does not answer, "Unknow" for an unknown module, and
 *   "ERROR" for a name-file section with a ModuleType but no ModuleName.
 * @return VEX_TRUE when the buffer names a module (an unknown one
 *   included); VEX_FALSE otherwise.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is at or beyond the slot count.
 *   - VEX_ERR_UART_OPEN (0x14006): "COM0:" could not be opened for a serial module.
 *   - VEX_ERR_UART_TIMEOUT (0x14002): the serial module did not answer "$00M" in time.
 *   - VEX_ERR_UART_RESPONSE (0x14003): its answer did not begin with "!" or ">".
 *   - VEX_ERR_UART_CHECKSUM (0x14001): its answer's checksum was wrong (checksums on COM0:).
 *   - VEX_ERR_MEMORY_ARGUMENT (0x11008): buffer is null (nothing is read or sent).
 * @thread Safe from any thread; the serial query holds the slot selection
 *   lock, so it waits for other threads' exchanges with local slots.
 */
VEXSDK_API uint32_t vex_GetModuleName(uint32_t slot, char *buffer);

/**
 * @brief As vex_GetModuleName, with the name as a wide string.
 * @param slot Slot number (low 8 bits).
 * @param buffer At least VEX_MODULE_NAME_SIZE wide characters.
 * @return As vex_GetModuleName.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is at or beyond the slot count.
 *   - VEX_ERR_UART_OPEN (0x14006): "COM0:" could not be opened for a serial module.
 *   - VEX_ERR_UART_TIMEOUT (0x14002): the serial module did not answer "$00M" in time.
 *   - VEX_ERR_UART_RESPONSE (0x14003): its answer did not begin with "!" or ">".
 *   - VEX_ERR_UART_CHECKSUM (0x14001): its answer's checksum was wrong (checksums on COM0:).
 *   - VEX_ERR_MEMORY_ARGUMENT (0x11008): buffer is null.
 * @thread As vex_GetModuleName.
 */
VEXSDK_API uint32_t vex_GetModuleName_DOTNET(uint32_t slot, wchar_t *buffer);

/**
 * @brief Answers the hardware version of the module in a slot.
 * Modules whose capability register (0x0E) is above 31 carry their
 * version in its low five bits; the single-slot controller's expansion
 * board reports it in a register of its own.
 * @param slot Slot number (low 8 bits).
 * @return The version, 0..31 (0..255 on the single-slot controller); 0 when none.
 *   The register is read whatever the slot holds: an empty slot or a serial
 *   module reads all ones there and so answers 31.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is at or beyond the slot count.
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t vex_GetModuleVersion(uint32_t slot);

/**
 * @brief Tells whether a slot holds the read-back module type.
 * That is ID 0x2F with a capability register of at least 32 and bit 5 set.
 * @param slot Slot number (low 8 bits); slots 8 and above hold no module.
 * @return 0 for the read-back module type, -1 otherwise.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_NordRModuleInitial(uint32_t slot);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_IDENTIFY_H */
