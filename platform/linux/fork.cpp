// pthread_atfork is no call of a table: it fails only with ENOMEM before
// the process has run any code of ours after the registration.
#include "platform/fork.h"

#include <pthread.h>

namespace vex::plat {

void on_fork(void (*prepare)(), void (*parent)(), void (*child)()) { ::pthread_atfork(prepare, parent, child); }

}  // namespace vex::plat
