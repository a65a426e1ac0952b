// The operating-system calls the registry store makes itself, in one table
// of the common pattern (platform/linux/call_table.h). The store's file
// I/O is SQLite's, overridable through SQLite's own system-call table; what
// is left is the sync of the database's directory after a flush, which
// makes a newly created database file survive a power loss.
//
// Change the table only while no registry call runs.
#pragma once

#include "platform/linux/call_table.h"

namespace vex::plat {

struct RegistryCalls {
    int (*open)(const char* path, int flags);
    int (*fsync)(int fd);
    int (*close)(int fd);
};

CallTable<RegistryCalls>& registry_table();
inline RegistryCalls& registry_calls() { return registry_table().now(); }

}  // namespace vex::plat
