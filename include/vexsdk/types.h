/* Types shared by the whole VEXSDK interface. Part of vexsdk.h. */
#ifndef VEXSDK_TYPES_H
#define VEXSDK_TYPES_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#if defined(__GNUC__)
#define VEXSDK_API __attribute__((visibility("default")))
#else
#define VEXSDK_API
#endif

#ifdef __cplusplus
#define VEXSDK_EXTERN_C_BEGIN extern "C" {
#define VEXSDK_EXTERN_C_END }
#else
#define VEXSDK_EXTERN_C_BEGIN
#define VEXSDK_EXTERN_C_END
#endif

/* 8-bit boolean result of most calls. */
typedef uint8_t VEX_BOOL;
/* 32-bit boolean result of the calls documented as returning one. */
typedef int32_t VEX_BOOL32;
#define VEX_TRUE 1
#define VEX_FALSE 0

/* Handle of an open COM port: a 32-bit token; 0 and 0xFFFFFFFF are never
 * valid. Opening returns VEX_INVALID_PORT on failure. */
typedef uint32_t VEX_PORT;
#define VEX_INVALID_PORT ((VEX_PORT)0xFFFFFFFFu)

/* An event handed to applications: a pollable file descriptor (eventfd,
 * auto-reset), so programs can wait on it with poll/epoll/select. -1 and 0
 * mean none. */
typedef int32_t VEX_EVENT;

/* Interrupt and timer callbacks run on the library's service threads. The
 * result tells the thread whether to acknowledge the interrupt or to end. */
typedef int32_t (*VEX_IRQ_CALLBACK)(void);
/* Module-watchdog interrupt callback: receives the slot number. */
typedef void (*VEX_SLOT_CALLBACK)(uint32_t slot);

#endif /* VEXSDK_TYPES_H */
