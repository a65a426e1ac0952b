/* Serial transport: COM ports, command exchange, line status. Part of
 * vexsdk.h. */
#ifndef VEXSDK_SERIAL_H
#define VEXSDK_SERIAL_H

#include "types.h"

VEXSDK_EXTERN_C_BEGIN

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_SERIAL_H */
