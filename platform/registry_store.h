// The registry store: keys and typed values under four roots, kept in an
// SQLite database per target, safe for concurrent processes.
//
// Model
//  - Four roots, each an implicit key that always exists.
//  - A key has subkeys and values. Key and value names compare without
//    regard to ASCII case and keep the case they were created with. A name
//    is 1..255 characters (a value name may also be empty: the key's default
//    value); a key path is names joined by backslashes, one trailing
//    backslash is ignored, an empty path means the root itself.
//  - Values carry a type number. Strings (REG_SZ, REG_EXPAND_SZ,
//    REG_MULTI_SZ) are kept as UTF-8 text, REG_DWORD as a 32-bit number,
//    every other type as the raw bytes it was given.
//  - A volatile key (and everything below it) belongs to one generation of
//    the target (see vex::plat::volatile_generation()): when the target
//    restarts, the generation changes and the next use of the store deletes
//    those keys.
//
// Every operation returns 0 or one of the VEX_REG_* results of
// include/vexsdk/registry.h. Operations are atomic: each runs in one SQLite
// transaction, retried while another process holds the database.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace vex::plat::registry {

enum class Root : uint8_t { LocalMachine = 0, CurrentUser, ClassesRoot, Users };
inline constexpr int kRootCount = 4;

// Value types, numbered as on the original platform.
inline constexpr uint32_t kTypeNone = 0;
inline constexpr uint32_t kTypeSz = 1;
inline constexpr uint32_t kTypeExpandSz = 2;
inline constexpr uint32_t kTypeBinary = 3;
inline constexpr uint32_t kTypeDword = 4;
inline constexpr uint32_t kTypeMultiSz = 7;

// Longest key or value name, in characters.
inline constexpr size_t kMaxNameLength = 255;

struct Value {
    uint32_t type = kTypeNone;
    std::wstring text;           // string types
    uint32_t number = 0;         // kTypeDword
    std::vector<uint8_t> bytes;  // every other type

    static Value string(std::wstring text, uint32_t type = kTypeSz);
    static Value dword(uint32_t number);
    static bool is_string_type(uint32_t type);
};

// One database file. An object keeps one connection and serialises its own
// callers with a mutex; several objects (in one or many processes) may use
// the same file at once.
class Store {
public:
    // Opens lazily: nothing touches the file until the first operation.
    // `generation` is the target's current generation; volatile keys of any
    // other generation are deleted when the database is first used. An empty
    // generation means "unknown": volatile keys are then left alone.
    // Connections are closed just before fork() (and re-opened on demand in
    // both processes), so a child never works through its parent's
    // SQLite state.
    Store(std::string db_path, std::string generation);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    const std::string& path() const { return path_; }

    // Tells the store the target's generation; when it differs from the one
    // recorded in the database, volatile keys are deleted (one transaction).
    uint32_t set_generation(const std::string& generation);

    uint32_t key_exists(Root root, std::wstring_view key);
    // Whether the key or a key above it is volatile (it vanishes when the
    // target restarts); VEX_REG_FILE_NOT_FOUND when there is no such key.
    uint32_t key_is_volatile(Root root, std::wstring_view key, bool& is_volatile);
    // Creates the key and any missing parents (parents are created with the
    // same volatility). An existing key is opened as it is.
    uint32_t create_key(Root root, std::wstring_view key, bool is_volatile = false);
    // Deletes the key with all its subkeys and values. A root cannot be
    // deleted (VEX_REG_ACCESS_DENIED).
    uint32_t delete_key(Root root, std::wstring_view key);
    // Creates the key when missing, then stores the value.
    uint32_t set_value(Root root, std::wstring_view key, std::wstring_view name, const Value& value);
    uint32_t get_value(Root root, std::wstring_view key, std::wstring_view name, Value& out);
    uint32_t delete_value(Root root, std::wstring_view key, std::wstring_view name);
    uint32_t count_subkeys(Root root, std::wstring_view key, uint32_t& count);
    uint32_t count_values(Root root, std::wstring_view key, uint32_t& count);
    // Names by index, in case-insensitive name order; VEX_REG_NO_MORE_ITEMS
    // past the end.
    uint32_t subkey_name(Root root, std::wstring_view key, uint32_t index, std::wstring& name);
    uint32_t value_name(Root root, std::wstring_view key, uint32_t index, std::wstring& name);
    // Moves everything committed into the database file and syncs it to
    // storage.
    uint32_t flush();

private:
    friend class ForkGuard;
    struct Impl;
    std::string path_;
    std::string generation_;
    // Guards generation_ and impl_ (the connection), held for a whole
    // operation including its busy retries. Lock order: the fork guard's
    // list lock, then each store's mutex_ (taken together only around
    // fork()); no other lock is taken while it is held.
    std::mutex mutex_;
    std::unique_ptr<Impl> impl_;
};

// The store of the current target, at vex::plat::registry_path(). It follows
// the target: a changed path (vex::plat::reload_target(), VEXSDK_REGISTRY)
// opens the new store, and the target's generation is checked on every call
// so volatile keys vanish as soon as the target has restarted. A store in
// use keeps living until its last user lets go of it.
std::shared_ptr<Store> current_store();

// The same answer as current_store()->get_value(), for the reads the
// library's load sequence makes: a string or number value or its absence.
// While the database is unchanged since such an answer was last read, it
// comes from a small snapshot file beside the database ("<database>.snapshot")
// and no SQLite code runs, which keeps loading the library light. Any other
// answer (another type, a failure) is read from the store every time. A
// database that does not exist reads as empty and is not made.
uint32_t get_value_at_load(Root root, std::wstring_view key, std::wstring_view name, Value& out);
// The same for the database at db_path of a target in `generation` (a
// virtual controller's power-up checks its presets with it).
uint32_t get_value_at_load(const std::string& db_path, const std::string& generation, Root root,
                           std::wstring_view key, std::wstring_view name, Value& out);

// Writes a value into the store at db_path, creating the keys on the way.
// Used by the virtual controller to preset its registry. `key` is the path
// below the root with backslashes. Returns 0 or a VEX_REG_* result.
uint32_t preset_string(const std::string& db_path, Root root, const std::wstring& key,
                       const std::wstring& name, const std::wstring& value);
uint32_t preset_dword(const std::string& db_path, Root root, const std::wstring& key,
                      const std::wstring& name, uint32_t value);

}  // namespace vex::plat::registry
