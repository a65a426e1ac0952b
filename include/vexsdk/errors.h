/* Error codes and the per-thread last error. Part of vexsdk.h. */
#ifndef VEXSDK_ERRORS_H
#define VEXSDK_ERRORS_H

#include "types.h"

/* Codes are 32-bit, in families by their upper bits: 0x1xxxx general,
 * 0x11xxx memory, 0x12xxx watchdog, 0x13xxx interrupt, 0x14xxx serial,
 * 0x15xxx I/O module, 0x16xxx backplane timer. Codes marked "no message"
 * leave the buffer of vex_GetErrorMessage untouched. */
#define VEX_ERR_NONE                   0x00000u /* no message */
#define VEX_ERR_UNKNOWN                0x00001u
#define VEX_ERR_SLOT_REGISTERED        0x10001u
#define VEX_ERR_SLOT_NOT_REGISTERED    0x10002u
#define VEX_ERR_UNKNOWN_MODULE         0x10003u
#define VEX_ERR_INVALID_MAC            0x10004u
#define VEX_ERR_INVALID_COM_PORT       0x10005u
#define VEX_ERR_NOT_SUPPORTED          0x10006u
#define VEX_ERR_MODULE_NOT_EXIST       0x10007u
#define VEX_ERR_INVALID_SLOT           0x10008u
#define VEX_ERR_SLOT_IN_USE            0x10009u /* no message */
#define VEX_ERR_EEPROM_ADDRESS         0x11001u
#define VEX_ERR_SRAM_ADDRESS           0x11002u
#define VEX_ERR_MEMORY_TYPE            0x11003u
#define VEX_ERR_NVRAM_ADDRESS          0x11004u
#define VEX_ERR_EEPROM_WRITE_PROTECTED 0x11005u
#define VEX_ERR_EEPROM_WRITE           0x11006u
#define VEX_ERR_EEPROM_READ            0x11007u
#define VEX_ERR_MEMORY_ARGUMENT        0x11008u /* no message */
#define VEX_ERR_WDT_VALUE              0x12001u
#define VEX_ERR_WDT_NOT_EXIST          0x12002u
#define VEX_ERR_WDT_BASE               0x12003u
#define VEX_ERR_CREATE_EVENT           0x13001u
#define VEX_ERR_UART_CHECKSUM          0x14001u
#define VEX_ERR_UART_TIMEOUT           0x14002u
#define VEX_ERR_UART_RESPONSE          0x14003u
#define VEX_ERR_UART_UNDER_RANGE       0x14004u
#define VEX_ERR_UART_OVER_RANGE        0x14005u
#define VEX_ERR_UART_OPEN              0x14006u
#define VEX_ERR_UART_MODEM_STATUS      0x14007u
#define VEX_ERR_UART_BUFFER_OVERFLOW   0x14008u
#define VEX_ERR_UART_LENGTH            0x14009u /* no message */
#define VEX_ERR_CARD_API_UNSUPPORTED   0x15001u
#define VEX_ERR_API_CARD_UNSUPPORTED   0x15002u
#define VEX_ERR_SLOT_RANGE             0x15003u
#define VEX_ERR_CHANNEL_RANGE          0x15004u
#define VEX_ERR_GAIN_RANGE             0x15005u
#define VEX_ERR_NO_INTERRUPT_MODE      0x15006u
#define VEX_ERR_INPUT_VALUE_RANGE      0x15007u
#define VEX_ERR_INPUT_CHANNEL_RANGE    0x15008u
/* 0x15009 is unassigned on purpose (no message). */
#define VEX_ERR_DO_NO_OVERWRITE        0x1500Au
#define VEX_ERR_AO_NO_OVERWRITE        0x1500Bu
#define VEX_ERR_TIMER_ALREADY_SET      0x16001u /* no message */
#define VEX_ERR_TIMER_NOT_SET          0x16002u /* no message */
#define VEX_ERR_BUZZER                 0x165003u /* no message; six digits */

/* Room a message buffer needs: the longest message, 43 characters, plus NUL. */
#define VEX_ERROR_MESSAGE_SIZE 44

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief The calling thread's last error; 0 for a thread that has none yet.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; the last error belongs to the calling thread.
 */
VEXSDK_API uint32_t vex_GetLastError(void);
/**
 * @brief Sets the calling thread's last error.
 * @param code Error code.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; the last error belongs to the calling thread.
 */
VEXSDK_API void vex_SetLastError(uint32_t code);
/**
 * @brief Forgets the calling thread's last error (the next read yields 0).
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; the last error belongs to the calling thread.
 */
VEXSDK_API void vex_ClearLastError(void);
/**
 * @brief Copies the English message of a code, with its NUL, into buffer (room
 *   for VEX_ERROR_MESSAGE_SIZE wide characters).
 * Codes without a message leave the buffer exactly as it was; so does a null
 * buffer.
 * @param code Error code.
 * @param buffer Buffer that receives the result.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; the last error belongs to the calling thread.
 */
VEXSDK_API void vex_GetErrorMessage(uint32_t code, wchar_t *buffer);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_ERRORS_H */
