// Whether the kernel tells the next locker that a robust mutex's owner
// died. It does on every Linux we run on, but user-mode qemu (the armhf
// suite) does not implement the robust futex list: there a mutex whose
// owner died stays locked for ever. Tests that kill a lock holder skip
// themselves there, with that reason.
#pragma once

#include <gtest/gtest.h>

namespace vex::test {

bool dead_owners_reported();

}  // namespace vex::test

#define VEXSDK_SKIP_WITHOUT_DEAD_OWNER_REPORTS()                                           \
    if (!vex::test::dead_owners_reported())                                               \
    GTEST_SKIP() << "this emulator does not implement robust futex lists (set_robust_list): " \
                    "a lock holder's death is never reported"
