#include "platform/fork.h"

#include <pthread.h>

namespace vex::plat {

void on_fork(void (*prepare)(), void (*parent)(), void (*child)()) { ::pthread_atfork(prepare, parent, child); }

}  // namespace vex::plat
