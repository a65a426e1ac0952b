/* Serial transport: COM ports, command exchange, line status. Part of
 * vexsdk.h.
 *
 * COM ports. A port is named "COM0:", "COM1:", ... ("COM0:" is the
 * backplane's internal port, through which serial modules in the
 * controller's own slots answer). The registry maps names to devices: key
 * HKEY_LOCAL_MACHINE\VORLAN\Ports, a string value named after the port
 * without its colon ("COM0", "COM3", "COM10") holding the device path, e.g.
 * "/dev/ttyS3" or a pseudo-terminal. A name whose fifth character is not ':'
 * stands for the device "$device\<first five characters>" and maps the
 * same way through those five characters ("COM10:" -> value "COM10").
 * Without a mapping: on a real controller (VEXSDK_TARGET=hw) "COMn" opens
 * /dev/ttySn; on the virtual controller the open fails. The virtual
 * controller publishes its own ports (COM0 and its bus ports) in that key.
 * A port is opened exclusively: a second open of the same device, from any
 * process, fails with VEX_ERR_UART_OPEN.
 *
 * Configuration string: "port,baud,parity,data bits,stop bits", default
 * "COM0:,115200,N,8,1". Fields are split at commas the way strtok splits
 * (runs of commas count as one: "COM1:,,E" gives the baud field "E"), at
 * most five are used, and each keeps at most its first 19 characters.
 * Parity: E, O, N, M (mark), S (space), upper case; anything else leaves
 * the port's parity as it was. Stop bits: "1", "2", or "1.5", which Linux
 * sends as 2 (as a UART with 5 data bits sends 1.5 for that setting).
 * Baud: any rate the driver accepts (standard or not). A setting the port
 * cannot take (baud 0, data bits outside 5..8) leaves all of the port's
 * settings as they were; the open still succeeds.
 *
 * Framing. A command goes out as its text, two upper-case hexadecimal
 * checksum digits when checksum is on for the port (the sum of the text's
 * bytes modulo 256: "$01M" goes out as "$01MD2"), then the whole
 * terminator ("\r" at open). An answer is read up to the first character of
 * the terminator; each next character must come within the read time-out
 * (200 ms at load, shared by every port of the process), so an answer may
 * take any time while its characters keep coming.
 *
 * Results. Calls return VEX_BOOL32 (1 on success) unless said otherwise and
 * record a code in the calling thread's last error on failure. A port
 * handle of 0 or 0xFFFFFFFF is rejected: with VEX_ERR_UART_OPEN (0x14006)
 * by the short calls, with VEX_ERR_UART_BUFFER_OVERFLOW (0x14008) by the
 * ...Ext calls, uart_Write and uart_Read. A handle that is not open (never
 * opened, or closed) fails with VEX_ERR_UART_OPEN. A null text or buffer
 * argument fails with VEX_ERR_UART_BUFFER_OVERFLOW.
 *
 * Buffers without a size argument (answers of uart_Recv, uart_Read,
 * uart_SendCmd) must hold 512 bytes.
 *
 * Threads. Any thread may use any port. Sending and receiving on one port
 * are each serialised, but not together: threads that share a port must
 * serialise whole command exchanges themselves. Do not close a port while
 * another thread uses it (that thread's call then fails).
 */
#ifndef VEXSDK_SERIAL_H
#define VEXSDK_SERIAL_H

#include "types.h"

/* Room the answer buffers of uart_Recv, uart_Read and uart_SendCmd need. */
#define VEX_UART_BUFFER_SIZE 512
/* Longest command text of uart_Send/uart_SendExt, longest binary block. */
#define VEX_UART_MAX_TEXT 2048

/* Lines of uart_SetLineStatus. */
#define VEX_LINE_DTR 1
#define VEX_LINE_RTS 2
#define VEX_LINE_DTR_RTS 3
/* Lines of uart_GetLineStatus. */
#define VEX_LINE_CTS 0
#define VEX_LINE_DSR 1
#define VEX_LINE_RING 2
#define VEX_LINE_CD 3

VEXSDK_EXTERN_C_BEGIN

/* --- Opening and closing ------------------------------------------------ */

/**
 * @brief Opens the port of a configuration string as it stands (null:
 * the default string), applies its settings, turns off parity checking and
 * every flow control, and sets the port's read and write time-outs to 200
 * ms. Checksum off, terminator "\r". Returns the handle, or VEX_INVALID_PORT
 * with VEX_ERR_UART_OPEN.
 * @param config Configuration string "port,baud,parity,data bits,stop bits";
 *   null for the default.
 * @return The handle, or VEX_INVALID_PORT with VEX_ERR_UART_OPEN.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_PORT uart_OpenEx(const char *config);
/**
 * @brief Like uart_OpenEx, after completing the string:
 * the default port is "COM0:", or "COM1:" when
 * HKEY_LOCAL_MACHINE\VORLAN\RunningMode is 2; a port name without a trailing
 * ':' gets one; with backward-compatible numbering (vex_BackwardCompatible)
 * COM0: becomes COM1:, COM1: becomes COM2: and COM2: becomes COM5:.
 * @param config Configuration string "port,baud,parity,data bits,stop bits";
 *   null for the default.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): left on the single-slot controller, even when the port
 *     opens, by the look-up of the older port numbering ("The function isn't supported").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_PORT uart_Open(const char *config);
/**
 * @brief Stops the port's line-status monitor and closes it.
 * 0 when the handle is not open (no error recorded).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @return 1 on success, 0 on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_Close(VEX_PORT port);

/* --- Commands and answers ----------------------------------------------- */

/**
 * @brief Frames a command (checksum when on, terminator), discards unsent
 *   output, and writes the frame as uart_WriteExt does with max_length.
 * A text longer than 2048 characters fails with VEX_ERR_UART_LENGTH
 * (0x14009).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @param max_length Most characters written.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_SendExt(VEX_PORT port, const char *text, uint32_t max_length);
/**
 * @brief uart_SendExt with at most 2048; a longer text fails with 0x14008.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_Send(VEX_PORT port, const char *text);
/**
 * @brief Reads one answer into buffer (size bytes; at most size - 3 characters
 *   of text are accepted, else VEX_ERR_UART_LENGTH), checks its checksum when
 *   checksum is on (VEX_ERR_UART_CHECKSUM, buffer emptied) and strips it. No
 *   character within the read time-out: VEX_ERR_UART_TIMEOUT. Clears the last
 *   error first, so a success leaves it 0.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param buffer Buffer that receives the result.
 * @param size Size of the buffer in bytes.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_CHECKSUM (0x14001): the answer's checksum is wrong ("Uart check sum error").
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_RecvExt(VEX_PORT port, char *buffer, uint32_t size);
/**
 * @brief uart_RecvExt into a 512-byte buffer.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param buffer Buffer that receives the result.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_CHECKSUM (0x14001): the answer's checksum is wrong ("Uart check sum error").
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_Recv(VEX_PORT port, char *buffer);
/**
 * @brief Discards pending input and output, sends the command (uart_SendExt
 *   with command_max) and reads its answer (uart_RecvExt).
 * The answer keeps its first character (">", "!", "?") for the caller to
 * judge.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param command Command text.
 * @param command_max Longest command text accepted.
 * @param answer Buffer that receives the answer.
 * @param answer_size Size of the answer buffer in bytes.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_CHECKSUM (0x14001): the answer's checksum is wrong ("Uart check sum error").
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_SendCmdExt(VEX_PORT port, const char *command, uint32_t command_max,
                                      char *answer, uint32_t answer_size);
/**
 * @brief Sends a command and reads its answer into a 512-byte buffer.
 * uart_SendCmdExt with 512 and a 512-byte answer buffer; a command longer
 * than 512 characters fails with 0x14008. The answer keeps its first
 * character (">", "!", "?") for the caller to judge.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param command Command text.
 * @param answer Buffer that receives the answer.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_CHECKSUM (0x14001): the answer's checksum is wrong ("Uart check sum error").
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 * @example
 *   char answer[VEX_UART_BUFFER_SIZE];
 *   VEX_PORT port = uart_Open("COM1:,9600,N,8,1");
 *   if (port != VEX_INVALID_PORT && uart_SendCmd(port, "$01M", answer))
 *       printf("module name: %s\n", answer + 3);
 *   uart_Close(port);
 */
VEXSDK_API VEX_BOOL32 uart_SendCmd(VEX_PORT port, const char *command, char *answer);

/* --- Raw text -------------------------------------------------------------- */

/**
 * @brief Writes text as it stands:
 * its first max_length characters, or all of a text of max_length + 1
 * characters whose last is a carriage return (a terminator just past the
 * limit is not cut off). An empty text writes nothing and fails without a
 * code; a failed write records no code; a write cut short by the write time-
 * out is a success.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @param max_length Most characters written.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_WriteExt(VEX_PORT port, const char *text, uint32_t max_length);
/**
 * @brief uart_WriteExt with 512.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_Write(VEX_PORT port, const char *text);
/**
 * @brief Reads up to the terminator's first character like uart_RecvExt, but
 *   leaves a checksum in place (it is still checked when on).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param buffer Buffer that receives the result.
 * @param size Size of the buffer in bytes.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_CHECKSUM (0x14001): the answer's checksum is wrong ("Uart check sum error").
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_ReadExt(VEX_PORT port, char *buffer, uint32_t size);
/**
 * @brief uart_ReadExt into a 512-byte buffer.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param buffer Buffer that receives the result.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_CHECKSUM (0x14001): the answer's checksum is wrong ("Uart check sum error").
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_Read(VEX_PORT port, char *buffer);

/* --- Binary blocks (no checksum, no terminator) ------------------------- */

/**
 * @brief Waits for earlier output to leave, then writes length bytes (at most
 *   2048, else VEX_ERR_UART_LENGTH).
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param data Bytes to send.
 * @param length Number of bytes.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_BinSend(VEX_PORT port, const void *data, uint32_t length);
/**
 * @brief Reads exactly length bytes, each within the read time-out
 *   (VEX_ERR_UART_TIMEOUT).
 * A length of 0 never succeeds: it discards what comes until the line is
 * quiet for the read time-out.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param buffer Buffer that receives the result.
 * @param length Number of bytes.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_BinRecv(VEX_PORT port, void *buffer, uint32_t length);
/**
 * @brief Discards pending input and output, uart_BinSend, then uart_BinRecv.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param data Bytes to send.
 * @param length Number of bytes.
 * @param answer Buffer that receives the answer.
 * @param answer_length Number of answer bytes to read.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no character came within the read time-out ("Uart read
 *     timeout").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 *   - VEX_ERR_UART_LENGTH (0x14009): a text or block is longer than the call accepts (no
 *     message).
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_BinSendCmd(VEX_PORT port, const void *data, uint32_t length, void *answer,
                                      uint32_t answer_length);

/* --- Settings -------------------------------------------------------------- */

/**
 * @brief Time-outs in milliseconds, by mode:
 * 0 the process-wide read time-out and this port's read and write time-outs;
 * 1 the process-wide read time-out only (every port of the process); 2 this
 * port's read time-out; 3 its write time-out; other modes change nothing. A
 * port read time-out of 0 makes each read wait until a byte comes.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param milliseconds Time in milliseconds.
 * @param mode Mode selector (see the description).
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_SetTimeOut(VEX_PORT port, uint32_t milliseconds, uint32_t mode);
/**
 * @brief The port's terminator (at most 255 characters; longer ones are cut).
 * Only its first character ends a received answer.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param terminator Terminator text (at most 255 characters).
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_SetTerminator(VEX_PORT port, const char *terminator);
/**
 * @brief Checksum on (non-zero) or off for the port's commands and answers.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param enable Non-zero to enable, zero to disable.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_EnableCheckSum(VEX_PORT port, VEX_BOOL enable);

/* --- Modem lines and queues ---------------------------------------------- */

/**
 * @brief Drives DTR (line 1), RTS (line 2) or both (line 3):
 * state 0 off, 1 on (other states change nothing and succeed; for line 3 any
 * non-zero is on). Re-applies the settings of the port opened last first.
 * Fails with VEX_ERR_UART_MODEM_STATUS when the port has no modem lines or
 * refuses, with 0x14008 for another line or a line under handshake control,
 * with VEX_ERR_UART_OPEN for VEX_INVALID_PORT.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param line Line selector.
 * @param state New state of the line.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_MODEM_STATUS (0x14007): the port cannot report or drive its modem lines
 *     ("Fail to get the Modem status").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API VEX_BOOL32 uart_SetLineStatus(VEX_PORT port, uint32_t line, uint32_t state);
/**
 * @brief 1 when an input line is on:
 * 0 CTS, 1 DSR, 2 RING, 3 carrier detect; else 0. The first call starts a
 * monitor thread for the port that keeps the state current until uart_Close.
 * Bad handle or line: 0 with 0x14008; a handle that is not open: 0 with
 * VEX_ERR_UART_OPEN.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param line Line selector.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API int32_t uart_GetLineStatus(VEX_PORT port, uint32_t line);
/**
 * @brief Not implemented:
 * always 0.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API int32_t uart_GetOutputLineStatus(void);
/**
 * @brief Bytes waiting in the input (queue 0) or output (queue 1) queue.
 * 0 on failure: 0x14008 for another queue, VEX_ERR_UART_MODEM_STATUS when
 * the port cannot tell.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @param queue Queue: 0 input, 1 output.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_UART_MODEM_STATUS (0x14007): the port cannot report or drive its modem lines
 *     ("Fail to get the Modem status").
 *   - VEX_ERR_UART_BUFFER_OVERFLOW (0x14008): a handle is 0 or 0xFFFFFFFF, a pointer is null, or
 *     a text is too long ("Internal buffer overflow").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API uint32_t uart_GetDataSize(VEX_PORT port, uint32_t queue);

/* --- Port numbering ----------------------------------------------------------- */

/**
 * @brief Maps a port number to the current numbering:
 * with backward-compatible numbering 0 -> 1, 1 -> 2, 2 -> 5 (3 and 4 stay);
 * otherwise unchanged. 5 or more: -1 with VEX_ERR_INVALID_COM_PORT. Negative
 * numbers pass.
 * @param port Handle of an open COM port (from uart_Open or uart_OpenEx).
 * @return The value described above.
 * @errors
 *   - VEX_ERR_INVALID_COM_PORT (0x10005): the port number is out of range ("Invalid COM port
 *     number").
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API int32_t vex_GetComMapping(int32_t port);
/**
 * @brief Creates an empty port table and makes it the process's; the library
 *   calls it at load.
 * Ports open in the table it replaces are closed. Returns the table
 * (opaque), or null when out of memory.
 * @return The table (opaque), or null when out of memory.
 * @errors
 *   - none: the call records no code.
 * @thread Any thread may use any port; threads that share a port serialise
 *   whole command exchanges themselves, and none closes a port another thread is
 *   using.
 */
VEXSDK_API void *vex_CreateComPortMap(void);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_SERIAL_H */
