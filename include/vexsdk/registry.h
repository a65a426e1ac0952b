/* Registry helpers: one full path "ROOT\key\...\name" per call.
 * Part of vexsdk.h.
 *
 * Cutting a path. The root is the first of HKEY_LOCAL_MACHINE,
 * HKEY_CURRENT_USER, HKEY_CLASSES_ROOT, HKEY_USERS (in that order) that
 * occurs anywhere in the path. Then:
 *   key path   = the text after the first backslash
 *   value key  = the text between the first and the last backslash
 *   value name = the text after the last backslash
 * so "HKEY_LOCAL_MACHINE\VORLAN\BackwardCompatible" names the value
 * "BackwardCompatible" of key "VORLAN", and as a key path the key
 * "VORLAN\BackwardCompatible". A path without a backslash has an empty key
 * path, value key and value name: it names the root itself and the root's
 * default (unnamed) value. Each part is cut to its first 255 characters.
 * Key and value names compare without regard to ASCII case.
 *
 * Results. Every helper except vex_RegSave records the store's result as
 * the calling thread's last error, so a success sets 0:
 *   0    VEX_REG_SUCCESS
 *   2    VEX_REG_FILE_NOT_FOUND     the key or value does not exist
 *   5    VEX_REG_ACCESS_DENIED      the store cannot be opened or written;
 *                                   deleting a root
 *   6    VEX_REG_INVALID_HANDLE     no root in the path
 *   14   VEX_REG_OUTOFMEMORY
 *   87   VEX_REG_INVALID_PARAMETER  null argument; a key path with an empty
 *                                   name inside ("A\\B", "\A")
 *   234  VEX_REG_MORE_DATA          the string does not fit the buffer
 *   259  VEX_REG_NO_MORE_ITEMS      enumeration index past the end
 *   1016 VEX_REG_IO_FAILED          the store failed (disk, corruption,
 *                                   held busy by another process too long)
 *   1630 VEX_REG_UNSUPPORTED_TYPE   the value exists with another type
 *                                   (reading a number as a string or the
 *                                   other way round)
 * vex_BackwardCompatible records 0x10006 (VEX_ERR_NOT_SUPPORTED) on the
 * single-slot controller. */
#ifndef VEXSDK_REGISTRY_H
#define VEXSDK_REGISTRY_H

#include "types.h"

/* Store results recorded by the registry helpers (operating-system style). */
#define VEX_REG_SUCCESS            0u
#define VEX_REG_FILE_NOT_FOUND     2u    /* key or value does not exist */
#define VEX_REG_ACCESS_DENIED      5u    /* store cannot be written; deleting a root */
#define VEX_REG_INVALID_HANDLE     6u    /* no root in the path */
#define VEX_REG_OUTOFMEMORY        14u
#define VEX_REG_INVALID_PARAMETER  87u   /* null argument, empty name in a key path */
#define VEX_REG_MORE_DATA          234u  /* value larger than the buffer */
#define VEX_REG_NO_MORE_ITEMS      259u  /* enumeration index past the end */
#define VEX_REG_IO_FAILED          1016u /* the store could not be read/written */
#define VEX_REG_KEY_DELETED        1018u /* reserved: keys are never held open */
#define VEX_REG_UNSUPPORTED_TYPE   1630u /* value has another type */

/* Value types reported by vex_RegGetKeyInfo. */
#define VEX_REG_INFO_NONE  0u
#define VEX_REG_INFO_KEY   1u
#define VEX_REG_INFO_SZ    2u
#define VEX_REG_INFO_DWORD 3u

/* Parts of a path are limited to 255 characters; longer parts are cut. */
#define VEX_REG_NAME_SIZE 256

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief TRUE when the value key of path (the last component dropped) exists.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegKeyExist(const wchar_t *path);
/**
 * @brief Creates the key path (and missing parents) or opens it when it
 *   exists.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegCreateKey(const wchar_t *path);
/**
 * @brief Deletes the key path with all its subkeys and values.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegDeleteKey(const wchar_t *path);
/**
 * @brief Deletes the value; 2 when the key or the value is missing.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegDeleteValue(const wchar_t *path);
/**
 * @brief Creates the value key when needed and stores a string value (REG_SZ)
 *   whose size in bytes is length + 1, as given:
 * the first (length + 1) / sizeof(wchar_t) characters of data, fewer when
 * data's terminating NUL comes first. Pass the string's size in bytes,
 * wcslen(data) * sizeof(wchar_t).
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @param data Bytes to send.
 * @param length Number of bytes.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegSetString(const wchar_t *path, const wchar_t *data, uint32_t length);
/**
 * @brief Creates the value key when needed and stores a 32-bit number
 *   (REG_DWORD).
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @param value Value to write.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegSetDWORD(const wchar_t *path, uint32_t value);
/**
 * @brief Reads a string value (REG_SZ or REG_EXPAND_SZ, unexpanded) into text,
 *   whose size in BYTES is size; at most 2048 bytes are used (511 characters and
 *   the NUL).
 * When it does not fit: 234. On any failure text receives an empty string if
 * size leaves room for one; a null text is never written.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @param text Text (NUL-terminated) or buffer that receives the text.
 * @param size Size of the buffer in bytes.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_MORE_DATA (234): the string does not fit the buffer.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 *   - VEX_REG_UNSUPPORTED_TYPE (1630): the value exists with another type.
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegGetString(const wchar_t *path, wchar_t *text, uint32_t size);
/**
 * @brief The value's number, or 0 on any failure (see the last error).
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return The value described above.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 *   - VEX_REG_UNSUPPORTED_TYPE (1630): the value exists with another type.
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API uint32_t vex_RegGetDWORD(const wchar_t *path);
/**
 * @brief Number of subkeys / values of the key path, or 0 on failure.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return The value described above.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API uint32_t vex_RegCountKey(const wchar_t *path);
/**
 * @brief Number of subkeys / values of the key path, or 0 on failure.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return The value described above.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API uint32_t vex_RegCountValue(const wchar_t *path);
/**
 * @brief Name of subkey / value number index of the key path, in case-
 *   insensitive name order.
 * name receives at most VEX_REG_NAME_SIZE wide characters (the NUL
 * included); on failure an empty string (259 past the last one).
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @param index Index, counted from 0.
 * @param name Buffer that receives the name (or the name to use).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_NO_MORE_ITEMS (259): the index is past the last entry.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 *   - VEX_REG_UNSUPPORTED_TYPE (1630): the value exists with another type.
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegGetKeyByIndex(const wchar_t *path, uint32_t index, wchar_t *name);
/**
 * @brief Name of subkey / value number index of the key path, in case-
 *   insensitive name order.
 * name receives at most VEX_REG_NAME_SIZE wide characters (the NUL
 * included); on failure an empty string (259 past the last one).
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @param index Index, counted from 0.
 * @param name Buffer that receives the name (or the name to use).
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_NO_MORE_ITEMS (259): the index is past the last entry.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 *   - VEX_REG_UNSUPPORTED_TYPE (1630): the value exists with another type.
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegGetValueByIndex(const wchar_t *path, uint32_t index, wchar_t *name);
/**
 * @brief VEX_REG_INFO_KEY when the key path is a key; otherwise the type of
 *   the value:
 * VEX_REG_INFO_SZ (REG_SZ, REG_EXPAND_SZ), VEX_REG_INFO_DWORD, or
 * VEX_REG_INFO_NONE for any other type or a missing value.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return The value described above.
 * @errors
 *   - VEX_REG_SUCCESS (0): on success: the call clears the last error.
 *   - VEX_REG_FILE_NOT_FOUND (2): the key or value does not exist.
 *   - VEX_REG_ACCESS_DENIED (5): the store cannot be opened or written.
 *   - VEX_REG_INVALID_HANDLE (6): the path names no root.
 *   - VEX_REG_OUTOFMEMORY (14): out of memory.
 *   - VEX_REG_INVALID_PARAMETER (87): a null argument, or a key path with an empty name inside.
 *   - VEX_REG_IO_FAILED (1016): the store failed (disk, corruption, held busy too long).
 *   - VEX_REG_UNSUPPORTED_TYPE (1630): the value exists with another type.
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API uint32_t vex_RegGetKeyInfo(const wchar_t *path);
/**
 * @brief Writes everything stored so far durably to storage.
 * path only needs to name a root. TRUE on success; the last error is left as
 * it was.
 * @param path Registry key path, e.g. L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports".
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_RegSave(const wchar_t *path);
/**
 * @brief TRUE when HKEY_LOCAL_MACHINE\VORLAN\BackwardCompatible is the number
 *   1.
 * On the single-slot controller (model code 5): FALSE with 0x10006.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread and process; each call is one transaction of
 *   the store.
 */
VEXSDK_API VEX_BOOL vex_BackwardCompatible(void);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_REGISTRY_H */
