// Handlers around fork(): a process that forks keeps only the forking
// thread in the child, so a service with threads of its own must forget
// them there (and must not let a lock held by one of them at the moment of
// the fork stay held for ever in the child).
//
// `prepare` runs in the forking thread just before the fork, `parent` and
// `child` just after, on each side. Handlers added later run their prepare
// first and their parent/child last (as pthread_atfork orders them).
#pragma once

namespace vex::plat {

void on_fork(void (*prepare)(), void (*parent)(), void (*child)());

}  // namespace vex::plat
