// Registry helpers: cutting a full registry path into root, key and value
// name. The exports themselves are declared in include/vexsdk/registry.h.
#pragma once

#include <cstddef>
#include <string>

#include "platform/registry_store.h"

namespace vex::services::registry {

// Each part of a path holds at most this many characters; the rest is cut.
inline constexpr size_t kMaxPartLength = 255;

struct PathParts {
    bool has_root = false;
    plat::registry::Root root = plat::registry::Root::LocalMachine;
    std::wstring key_path;    // after the first backslash
    std::wstring value_key;   // between the first and the last backslash
    std::wstring value_name;  // after the last backslash
};

// Cuts a NUL-terminated path (not null). The root is the first root name
// found anywhere in the path, searched in the order LOCAL_MACHINE,
// CURRENT_USER, CLASSES_ROOT, USERS. Without a backslash every part is empty.
PathParts cut_path(const wchar_t* path);

}  // namespace vex::services::registry
