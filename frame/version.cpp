// The product version the running library reports; the header's macros
// carry the same numbers (CMake refuses to configure when they differ from
// the project version).
#include "vexsdk.h"

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API const char* vexsdk_version(void) { return VEXSDK_VERSION_STRING; }

VEXSDK_EXTERN_C_END
