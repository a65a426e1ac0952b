// Registry helpers: every export takes one full path, cuts it into root,
// key and value name, does one operation on the target's registry store and
// records the store's result (0 on success) as the thread's last error.
//
// The parts of a path are cut into locals of at most 255 characters each, so
// a long path is shortened, never copied past a buffer, and calls from
// several threads do not disturb each other.
#include "services/registry.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <new>

#include "frame/backplane.h"
#include "frame/errors.h"
#include "vexsdk.h"

namespace vex::services::registry {

namespace {

struct RootName {
    const wchar_t* text;
    plat::registry::Root root;
};

// Searched in this order, each anywhere in the path: a path that names two
// roots resolves to the one listed first here, wherever it stands.
constexpr RootName kRoots[] = {
    {L"HKEY_LOCAL_MACHINE", plat::registry::Root::LocalMachine},
    {L"HKEY_CURRENT_USER", plat::registry::Root::CurrentUser},
    {L"HKEY_CLASSES_ROOT", plat::registry::Root::ClassesRoot},
    {L"HKEY_USERS", plat::registry::Root::Users},
};

std::wstring part(const wchar_t* begin, const wchar_t* end) {
    return std::wstring(begin, std::min(static_cast<size_t>(end - begin), kMaxPartLength));
}

}  // namespace

PathParts cut_path(const wchar_t* path) {
    PathParts parts;
    for (const RootName& r : kRoots) {
        if (std::wcsstr(path, r.text)) {
            parts.has_root = true;
            parts.root = r.root;
            break;
        }
    }
    const wchar_t* first = std::wcschr(path, L'\\');
    if (!first) return parts;
    const wchar_t* last = std::wcsrchr(path, L'\\');
    const wchar_t* end = path + std::wcslen(path);
    parts.key_path = part(first + 1, end);
    if (last > first) parts.value_key = part(first + 1, last);
    parts.value_name = part(last + 1, end);
    return parts;
}

}  // namespace vex::services::registry

namespace {

namespace reg = vex::plat::registry;
using vex::services::registry::cut_path;
using vex::services::registry::PathParts;

// String reads go through a buffer of this many bytes, as they always have.
constexpr uint32_t kStringBufferBytes = 2048;

void record(uint32_t code) { vex::frame::set_last_error(code); }

// Cuts the path, records a failure for a null path or one without a root,
// and runs op(parts, store) otherwise; the result of op is recorded. Any
// exception ends as a recorded failure, never leaves the export.
template <class Op>
uint32_t with_path(const wchar_t* path, Op&& op) {
    uint32_t result;
    try {
        if (!path) {
            result = VEX_REG_INVALID_PARAMETER;
        } else {
            const PathParts parts = cut_path(path);
            result = parts.has_root ? op(parts, *reg::current_store()) : VEX_REG_INVALID_HANDLE;
        }
    } catch (const std::bad_alloc&) {
        result = VEX_REG_OUTOFMEMORY;
    } catch (...) {
        result = VEX_REG_IO_FAILED;
    }
    record(result);
    return result;
}

VEX_BOOL ok(uint32_t result) { return result == VEX_REG_SUCCESS ? VEX_TRUE : VEX_FALSE; }

// Copies an enumerated name into the caller's VEX_REG_NAME_SIZE buffer.
uint32_t copy_name(const std::wstring& name, wchar_t* out) {
    if (name.size() >= VEX_REG_NAME_SIZE) return VEX_REG_MORE_DATA;
    std::wmemcpy(out, name.c_str(), name.size() + 1);
    return VEX_REG_SUCCESS;
}

template <bool Keys>
VEX_BOOL name_by_index(const wchar_t* path, uint32_t index, wchar_t* name) {
    if (!name) {
        record(VEX_REG_INVALID_PARAMETER);
        return VEX_FALSE;
    }
    const uint32_t result = with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        std::wstring found;
        const uint32_t r = Keys ? store.subkey_name(p.root, p.key_path, index, found)
                                : store.value_name(p.root, p.key_path, index, found);
        return r == VEX_REG_SUCCESS ? copy_name(found, name) : r;
    });
    if (result != VEX_REG_SUCCESS) name[0] = L'\0';
    return ok(result);
}

}  // namespace

VEXSDK_EXTERN_C_BEGIN

VEX_BOOL vex_RegKeyExist(const wchar_t* path) {
    return ok(with_path(path, [](const PathParts& p, reg::Store& store) -> uint32_t {
        return store.key_exists(p.root, p.value_key);
    }));
}

VEX_BOOL vex_RegCreateKey(const wchar_t* path) {
    return ok(with_path(path, [](const PathParts& p, reg::Store& store) -> uint32_t {
        return store.create_key(p.root, p.key_path);
    }));
}

VEX_BOOL vex_RegDeleteKey(const wchar_t* path) {
    return ok(with_path(path, [](const PathParts& p, reg::Store& store) -> uint32_t {
        return store.delete_key(p.root, p.key_path);
    }));
}

VEX_BOOL vex_RegDeleteValue(const wchar_t* path) {
    return ok(with_path(path, [](const PathParts& p, reg::Store& store) -> uint32_t {
        return store.delete_value(p.root, p.value_key, p.value_name);
    }));
}

VEX_BOOL vex_RegSetString(const wchar_t* path, const wchar_t* data, uint32_t length) {
    if (!data) {
        record(VEX_REG_INVALID_PARAMETER);
        return VEX_FALSE;
    }
    return ok(with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        // The value is length + 1 bytes, as the caller gave it: whole wide
        // characters of that size, but never past data's terminator.
        const uint64_t chars = (static_cast<uint64_t>(length) + 1) / sizeof(wchar_t);
        size_t n = 0;
        while (n < chars && data[n] != L'\0') ++n;
        return store.set_value(p.root, p.value_key, p.value_name,
                               reg::Value::string(std::wstring(data, n)));
    }));
}

VEX_BOOL vex_RegSetDWORD(const wchar_t* path, uint32_t value) {
    return ok(with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        return store.set_value(p.root, p.value_key, p.value_name, reg::Value::dword(value));
    }));
}

VEX_BOOL vex_RegGetString(const wchar_t* path, wchar_t* text, uint32_t size) {
    if (!text) {
        record(VEX_REG_INVALID_PARAMETER);
        return VEX_FALSE;
    }
    const uint32_t capacity = std::min(size, kStringBufferBytes);
    const uint32_t result = with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        reg::Value v;
        const uint32_t r = store.get_value(p.root, p.value_key, p.value_name, v);
        if (r != VEX_REG_SUCCESS) return r;
        if (v.type != reg::kTypeSz && v.type != reg::kTypeExpandSz) return VEX_REG_UNSUPPORTED_TYPE;
        const uint64_t bytes = (static_cast<uint64_t>(v.text.size()) + 1) * sizeof(wchar_t);
        if (bytes > capacity) return VEX_REG_MORE_DATA;
        std::wmemcpy(text, v.text.c_str(), v.text.size() + 1);
        return VEX_REG_SUCCESS;
    });
    if (result != VEX_REG_SUCCESS && size >= sizeof(wchar_t)) text[0] = L'\0';
    return ok(result);
}

uint32_t vex_RegGetDWORD(const wchar_t* path) {
    uint32_t number = 0;
    with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        reg::Value v;
        const uint32_t r = store.get_value(p.root, p.value_key, p.value_name, v);
        if (r != VEX_REG_SUCCESS) return r;
        if (v.type != reg::kTypeDword) return VEX_REG_UNSUPPORTED_TYPE;
        number = v.number;
        return VEX_REG_SUCCESS;
    });
    return number;
}

uint32_t vex_RegCountKey(const wchar_t* path) {
    uint32_t count = 0;
    with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        return store.count_subkeys(p.root, p.key_path, count);
    });
    return count;
}

uint32_t vex_RegCountValue(const wchar_t* path) {
    uint32_t count = 0;
    with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        return store.count_values(p.root, p.key_path, count);
    });
    return count;
}

VEX_BOOL vex_RegGetKeyByIndex(const wchar_t* path, uint32_t index, wchar_t* name) {
    return name_by_index<true>(path, index, name);
}

VEX_BOOL vex_RegGetValueByIndex(const wchar_t* path, uint32_t index, wchar_t* name) {
    return name_by_index<false>(path, index, name);
}

uint32_t vex_RegGetKeyInfo(const wchar_t* path) {
    uint32_t info = VEX_REG_INFO_NONE;
    with_path(path, [&](const PathParts& p, reg::Store& store) -> uint32_t {
        if (store.key_exists(p.root, p.key_path) == VEX_REG_SUCCESS) {
            info = VEX_REG_INFO_KEY;
            return VEX_REG_SUCCESS;
        }
        reg::Value v;
        const uint32_t r = store.get_value(p.root, p.value_key, p.value_name, v);
        if (r != VEX_REG_SUCCESS) return r;
        if (v.type == reg::kTypeSz || v.type == reg::kTypeExpandSz)
            info = VEX_REG_INFO_SZ;
        else if (v.type == reg::kTypeDword)
            info = VEX_REG_INFO_DWORD;
        return VEX_REG_SUCCESS;
    });
    return info;
}

VEX_BOOL vex_RegSave(const wchar_t* path) {
    // Saving reports only through its result: the last error stays as the
    // previous call left it.
    try {
        if (!path || !cut_path(path).has_root) return VEX_FALSE;
        return ok(reg::current_store()->flush());
    } catch (...) {
        return VEX_FALSE;
    }
}

VEX_BOOL vex_BackwardCompatible(void) {
    if (vex::frame::controller_model() == vex::frame::kModelSingleSlot) {
        record(VEX_ERR_NOT_SUPPORTED);
        return VEX_FALSE;
    }
    return vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible") == 1 ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_EXTERN_C_END
