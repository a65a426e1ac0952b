/* The product's own version: of this library, its header and its tools.
 * Part of vexsdk.h.
 *
 * Not to be confused with vex_GetSDKVersion, which reports the version of
 * the reference interface the library follows (a fixed text). The macros
 * say which header a program was compiled with; vexsdk_version() says which
 * library it runs with. The two may differ after an upgrade of the shared
 * library; programs that care compare the major numbers.
 */
#ifndef VEXSDK_VERSION_H
#define VEXSDK_VERSION_H

#include "types.h"

#define VEXSDK_VERSION_MAJOR 1
#define VEXSDK_VERSION_MINOR 0
#define VEXSDK_VERSION_PATCH 0
#define VEXSDK_VERSION_STRING "1.0.0"
/* One number for comparisons: 0xMMmmpp. */
#define VEXSDK_VERSION_NUMBER \
    ((VEXSDK_VERSION_MAJOR << 16) | (VEXSDK_VERSION_MINOR << 8) | VEXSDK_VERSION_PATCH)

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief Returns the version of the library that is running, "major.minor.patch".
 * The text is static and lives as long as the process; do not free it.
 * @return The version text, e.g. "1.0.0"; never null.
 * @errors
 *   - none: the call leaves the last error as it was.
 * @thread Safe from any thread.
 * @example
 *   if (strcmp(vexsdk_version(), VEXSDK_VERSION_STRING) != 0)
 *       fprintf(stderr, "built with %s, running %s\n",
 *               VEXSDK_VERSION_STRING, vexsdk_version());
 */
VEXSDK_API const char *vexsdk_version(void);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_VERSION_H */
