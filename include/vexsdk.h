/*
 * vexsdk.h - the flat C interface of the VEXSDK I/O and device library.
 *
 * Plain C (C99 and later) and C++. Every function declared here is exported
 * by libvexsdk with C linkage; nothing else is. Include this header only:
 * the files under vexsdk/ are its parts, grouped by subsystem.
 *
 * Conventions
 *  - Most calls return VEX_BOOL (8-bit, VEX_TRUE on success); a few return
 *    VEX_BOOL32 (32-bit) where the call is documented as such. On failure a
 *    call records an error code in the calling thread's last error
 *    (vex_GetLastError); a success does not clear it, except in the registry
 *    helpers, which record the store's own result (0 on success).
 *  - Text: error messages, registry paths and names are wide (wchar_t)
 *    strings; module names, serial commands and answers are 8-bit strings.
 *    The narrow "ANSI" code page is UTF-8.
 *  - Slots are numbered from 0; slot arguments use only their low 8 bits.
 */
#ifndef VEXSDK_H
#define VEXSDK_H

#include "vexsdk/types.h"
#include "vexsdk/errors.h"
#include "vexsdk/frame.h"
#include "vexsdk/registry.h"
#include "vexsdk/serial.h"
#include "vexsdk/io.h"
#include "vexsdk/watchdog.h"
#include "vexsdk/panel.h"
#include "vexsdk/storage.h"
#include "vexsdk/network.h"
#include "vexsdk/modules.h"
#include "vexsdk/irq.h"
#include "vexsdk/hotplug.h"
#include "vexsdk/memory.h"
#include "vexsdk/device.h"
#include "vexsdk/version.h"

#endif /* VEXSDK_H */
