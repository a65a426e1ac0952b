// The registry store on SQLite.
//
// Schema (user_version 1):
//   meta(name TEXT PRIMARY KEY, value TEXT)      "generation" -> generation text
//   keys(id INTEGER PRIMARY KEY,
//        parent INTEGER REFERENCES keys(id) ON DELETE CASCADE,
//        name TEXT COLLATE NOCASE, volatile INTEGER, UNIQUE(parent, name))
//   vals(key INTEGER REFERENCES keys(id) ON DELETE CASCADE,
//        name TEXT COLLATE NOCASE, type INTEGER, data, PRIMARY KEY(key, name))
// The four roots are the keys 1..4 (parent NULL). Deleting a key row takes
// its whole subtree and values with it through the cascading foreign keys,
// which is also how volatile keys vanish. NOCASE folds ASCII letters only,
// which is the comparison the registry has always used for names.
//
// Concurrency: the database runs in WAL mode, so readers never wait for the
// writer. Writers start with BEGIN IMMEDIATE (taking the write lock before
// reading anything, so a read-then-write transaction cannot fail half way
// on a stale snapshot); SQLite's busy handler waits up to kBusyTimeoutMs for
// the lock, and a whole operation is retried on a busy result until
// kRetryDeadlineMs has passed. synchronous=NORMAL keeps every commit
// consistent after a crash; flush() (vex_RegSave) checkpoints the WAL into
// the database and syncs it, which makes everything committed durable.
#include <fcntl.h>
#include <pthread.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <new>
#include <random>
#include <thread>

#include "platform/linux/registry_calls.h"
#include "platform/registry_store.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "vexsdk/registry.h"

namespace vex::plat::registry {
namespace {

constexpr int kBusyTimeoutMs = 5000;
constexpr int kRetryDeadlineMs = 30000;
constexpr int kSchemaVersion = 1;

constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS meta(
  name  TEXT PRIMARY KEY,
  value TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS keys(
  id       INTEGER PRIMARY KEY,
  parent   INTEGER REFERENCES keys(id) ON DELETE CASCADE,
  name     TEXT NOT NULL COLLATE NOCASE,
  volatile INTEGER NOT NULL DEFAULT 0,
  UNIQUE(parent, name));
CREATE INDEX IF NOT EXISTS keys_volatile ON keys(volatile) WHERE volatile <> 0;
CREATE TABLE IF NOT EXISTS vals(
  key  INTEGER NOT NULL REFERENCES keys(id) ON DELETE CASCADE,
  name TEXT NOT NULL COLLATE NOCASE,
  type INTEGER NOT NULL,
  data,
  PRIMARY KEY(key, name)) WITHOUT ROWID;
INSERT OR IGNORE INTO keys(id, parent, name) VALUES
  (1, NULL, 'HKEY_LOCAL_MACHINE'), (2, NULL, 'HKEY_CURRENT_USER'),
  (3, NULL, 'HKEY_CLASSES_ROOT'), (4, NULL, 'HKEY_USERS');
PRAGMA user_version = 1;
)sql";

// An SQLite failure on the way; caught where the operation is retried.
struct SqlError {
    int rc;
};

void check(int rc) {
    if (rc != SQLITE_OK && rc != SQLITE_ROW && rc != SQLITE_DONE) throw SqlError{rc};
}

bool is_busy(int rc) {
    const int primary = rc & 0xFF;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED || primary == SQLITE_PROTOCOL;
}

uint32_t map_error(int rc) {
    switch (rc & 0xFF) {
    case SQLITE_OK:
        return VEX_REG_SUCCESS;
    case SQLITE_NOMEM:
        return VEX_REG_OUTOFMEMORY;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
        return VEX_REG_ACCESS_DENIED;
    default:
        return VEX_REG_IO_FAILED;
    }
}

// A prepared statement that finalizes itself.
class Stmt {
public:
    Stmt(sqlite3* db, const char* sql) {
        check(sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr));
    }
    ~Stmt() { sqlite3_finalize(stmt_); }
    Stmt(const Stmt&) = delete;
    Stmt& operator=(const Stmt&) = delete;

    Stmt& bind(int i, int64_t v) {
        check(sqlite3_bind_int64(stmt_, i, v));
        return *this;
    }
    Stmt& bind(int i, const std::string& text) {
        check(sqlite3_bind_text64(stmt_, i, text.data(), text.size(), SQLITE_TRANSIENT,
                                       SQLITE_UTF8));
        return *this;
    }
    Stmt& bind_blob(int i, const std::vector<uint8_t>& bytes) {
        // A zero-length blob must still be a blob, not NULL.
        static const uint8_t kEmpty = 0;
        check(sqlite3_bind_blob64(stmt_, i, bytes.empty() ? &kEmpty : bytes.data(),
                                       bytes.size(), SQLITE_TRANSIENT));
        return *this;
    }
    // True while there is a row.
    bool step() {
        const int rc = sqlite3_step(stmt_);
        if (rc == SQLITE_ROW) return true;
        if (rc == SQLITE_DONE) return false;
        throw SqlError{rc};
    }
    int64_t integer(int col) { return sqlite3_column_int64(stmt_, col); }
    std::string text(int col) {
        const auto* p = sqlite3_column_text(stmt_, col);
        const int n = sqlite3_column_bytes(stmt_, col);
        return p ? std::string(reinterpret_cast<const char*>(p), static_cast<size_t>(n))
                 : std::string();
    }
    std::vector<uint8_t> blob(int col) {
        const auto* p = static_cast<const uint8_t*>(sqlite3_column_blob(stmt_, col));
        const int n = sqlite3_column_bytes(stmt_, col);
        return p ? std::vector<uint8_t>(p, p + n) : std::vector<uint8_t>();
    }

private:
    sqlite3_stmt* stmt_ = nullptr;
};

void exec(sqlite3* db, const char* sql) { check(sqlite3_exec(db, sql, nullptr, nullptr, nullptr)); }

int64_t root_id(Root root) { return static_cast<int64_t>(root) + 1; }
bool valid_root(Root root) { return static_cast<int>(root) < kRootCount; }

bool valid_name_text(std::wstring_view name) {
    return name.size() <= kMaxNameLength && name.find(L'\0') == std::wstring_view::npos;
}

// Splits a key path into UTF-8 names. One trailing backslash is ignored; an
// empty name anywhere else, or one too long, makes the path invalid.
uint32_t split_key(std::wstring_view key, std::vector<std::string>& names) {
    names.clear();
    if (!key.empty() && key.back() == L'\\') key.remove_suffix(1);
    if (key.empty()) return VEX_REG_SUCCESS;
    size_t start = 0;
    for (;;) {
        const size_t end = key.find(L'\\', start);
        const std::wstring_view name =
            key.substr(start, end == std::wstring_view::npos ? std::wstring_view::npos : end - start);
        if (name.empty() || !valid_name_text(name)) return VEX_REG_INVALID_PARAMETER;
        names.push_back(to_utf8(name));
        if (end == std::wstring_view::npos) return VEX_REG_SUCCESS;
        start = end + 1;
    }
}

// Finds the key below the root; 0 when a name on the way is missing.
int64_t find_key(sqlite3* db, Root root, const std::vector<std::string>& names) {
    int64_t id = root_id(root);
    for (const std::string& name : names) {
        Stmt q(db, "SELECT id FROM keys WHERE parent = ?1 AND name = ?2");
        q.bind(1, id).bind(2, name);
        if (!q.step()) return 0;
        id = q.integer(0);
    }
    return id;
}

int64_t make_key(sqlite3* db, Root root, const std::vector<std::string>& names, bool is_volatile) {
    int64_t id = root_id(root);
    for (const std::string& name : names) {
        Stmt q(db, "SELECT id FROM keys WHERE parent = ?1 AND name = ?2");
        q.bind(1, id).bind(2, name);
        if (q.step()) {
            id = q.integer(0);
            continue;
        }
        Stmt ins(db, "INSERT INTO keys(parent, name, volatile) VALUES (?1, ?2, ?3)");
        ins.bind(1, id).bind(2, name).bind(3, is_volatile ? 1 : 0);
        ins.step();
        id = sqlite3_last_insert_rowid(db);
    }
    return id;
}

// Syncs the directory that holds the database so that a newly created file
// (and its WAL) survive a power loss as well as their contents.
bool sync_directory(const std::string& file) {
    const std::filesystem::path dir = std::filesystem::path(file).parent_path();
    RegistryCalls& c = registry_calls();
    const int fd = c.open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = c.fsync(fd) == 0;
    // A read-only directory descriptor has nothing to lose at close.
    c.close(fd);
    return ok;
}

void backoff(unsigned attempt) {
    thread_local std::minstd_rand rng(static_cast<unsigned>(::getpid()) ^
                                      static_cast<unsigned>(std::random_device()()));
    const unsigned limit = attempt < 6 ? (1u << attempt) : 64u;
    std::this_thread::sleep_for(std::chrono::milliseconds(1 + rng() % limit));
}

}  // namespace

Value Value::string(std::wstring text, uint32_t type) {
    Value v;
    v.type = type;
    v.text = std::move(text);
    return v;
}

Value Value::dword(uint32_t number) {
    Value v;
    v.type = kTypeDword;
    v.number = number;
    return v;
}

bool Value::is_string_type(uint32_t type) {
    return type == kTypeSz || type == kTypeExpandSz || type == kTypeMultiSz;
}

struct Store::Impl {
    const std::string& path;
    sqlite3* db = nullptr;
    pid_t owner = 0;                  // process that opened db
    bool checked_generation = false;  // recorded generation known to match
    std::string checked_text;

    explicit Impl(const std::string& p) : path(p) {}
    // A connection is closed only by the process that opened it. The fork
    // guard below closes connections before fork(); should one still reach
    // a child (a clone the guard did not see), the child drops it unused,
    // since closing it could disturb the parent's locks and WAL.
    ~Impl() { close(); }

    void close() {
        if (db && owner == ::getpid()) sqlite3_close_v2(db);
        db = nullptr;
        checked_generation = false;
    }

    void open() {
        if (db && owner != ::getpid()) close();  // inherited: dropped, not closed
        if (db) return;
        if (path.empty()) throw SqlError{SQLITE_CANTOPEN};  // no controller, no store
        std::error_code ec;
        const std::filesystem::path parent = std::filesystem::path(path).parent_path();
        if (!parent.empty()) std::filesystem::create_directories(parent, ec);
        sqlite3* handle = nullptr;
        const int rc = sqlite3_open_v2(path.c_str(), &handle,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                                       nullptr);
        if (rc != SQLITE_OK) {
            sqlite3_close_v2(handle);
            throw SqlError{rc};
        }
        db = handle;
        owner = ::getpid();
        try {
            sqlite3_extended_result_codes(db, 1);
            sqlite3_busy_timeout(db, kBusyTimeoutMs);
            {
                Stmt q(db, "PRAGMA journal_mode=WAL");
                if (!q.step() || q.text(0) != "wal") throw SqlError{SQLITE_IOERR};
            }
            exec(db, "PRAGMA synchronous=NORMAL");
            exec(db, "PRAGMA foreign_keys=ON");
            int64_t version;
            {
                Stmt q(db, "PRAGMA user_version");
                q.step();
                version = q.integer(0);
            }
            if (version > kSchemaVersion) throw SqlError{SQLITE_NOTADB};  // written by a newer library
            if (version < kSchemaVersion) {
                exec(db, "BEGIN IMMEDIATE");
                exec(db, kSchema);
                exec(db, "COMMIT");
            }
        } catch (...) {
            close();
            throw;
        }
    }

    // True when the database is known to carry this generation already.
    bool generation_current(const std::string& generation) const {
        return generation.empty() ||
               (db && owner == ::getpid() && checked_generation && checked_text == generation);
    }

    void rollback_if_open() {
        if (db && !sqlite3_get_autocommit(db)) sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    }

    // Deletes volatile keys left from another generation.
    void sync_generation(const std::string& generation) {
        if (generation_current(generation)) return;
        auto recorded = [this]() {
            Stmt q(db, "SELECT value FROM meta WHERE name = 'generation'");
            return q.step() ? q.text(0) : std::string();
        };
        if (recorded() != generation) {
            exec(db, "BEGIN IMMEDIATE");
            if (recorded() != generation) {  // another process may have done it meanwhile
                exec(db, "DELETE FROM keys WHERE volatile <> 0");
                Stmt up(db, "INSERT OR REPLACE INTO meta(name, value) VALUES ('generation', ?1)");
                up.bind(1, generation);
                up.step();
            }
            exec(db, "COMMIT");
        }
        checked_generation = true;
        checked_text = generation;
    }

    // Runs fn(db) in one transaction (IMMEDIATE when it writes), committing
    // when it returns 0 and rolling back otherwise; retries while the
    // database is busy.
    template <class Fn>
    uint32_t transact(const std::string& generation, bool write, Fn&& fn) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kRetryDeadlineMs);
        for (unsigned attempt = 0;; ++attempt) {
            try {
                open();
                sync_generation(generation);
                exec(db, write ? "BEGIN IMMEDIATE" : "BEGIN");
                const uint32_t result = fn(db);
                exec(db, result == VEX_REG_SUCCESS ? "COMMIT" : "ROLLBACK");
                return result;
            } catch (const SqlError& e) {
                rollback_if_open();
                if (is_busy(e.rc) && std::chrono::steady_clock::now() < deadline) {
                    backoff(attempt);
                    continue;
                }
                if ((e.rc & 0xFF) != SQLITE_BUSY) close();  // start afresh next time
                return map_error(e.rc);
            } catch (const std::bad_alloc&) {
                rollback_if_open();
                return VEX_REG_OUTOFMEMORY;
            }
        }
    }
};

// SQLite state must not cross fork(): a child that used a connection (or
// even opened a new one next to it) would share the parent's view of the
// file locks, which the kernel does not give the child. So every store
// closes its connection just before fork(), holding its mutex across the
// fork so that no operation is half done in either process; each side
// re-opens on its next call.
class ForkGuard {
public:
    static void add(Store* s) {
        std::call_once(installed_, [] { ::pthread_atfork(&prepare, &resume, &resume); });
        std::lock_guard lock(mutex());
        stores().push_back(s);
    }
    static void remove(Store* s) {
        std::lock_guard lock(mutex());
        auto& list = stores();
        list.erase(std::remove(list.begin(), list.end(), s), list.end());
    }

private:
    static std::mutex& mutex() {
        static auto* m = new std::mutex;
        return *m;
    }
    static std::vector<Store*>& stores() {
        static auto* v = new std::vector<Store*>;
        return *v;
    }
    static void prepare() {
        mutex().lock();
        for (Store* s : stores()) {
            s->mutex_.lock();
            s->impl_->close();
        }
    }
    static void resume() {
        for (Store* s : stores()) s->mutex_.unlock();
        mutex().unlock();
    }
    static inline std::once_flag installed_;
};

Store::Store(std::string db_path, std::string generation)
    : path_(std::move(db_path)), generation_(std::move(generation)), impl_(std::make_unique<Impl>(path_)) {
    ForkGuard::add(this);
}

Store::~Store() { ForkGuard::remove(this); }

uint32_t Store::set_generation(const std::string& generation) {
    std::lock_guard lock(mutex_);
    generation_ = generation;
    if (impl_->generation_current(generation_)) return VEX_REG_SUCCESS;
    return impl_->transact(generation_, false, [](sqlite3*) -> uint32_t { return VEX_REG_SUCCESS; });
}

namespace {

// Every operation checks the root, splits the key path and runs one
// transaction with the key's names; `op` gets the database and the names.
template <class Impl, class Op>
uint32_t on_key(Impl& impl, const std::string& generation, Root root, std::wstring_view key, bool write,
                Op&& op) {
    if (!valid_root(root)) return VEX_REG_INVALID_HANDLE;
    std::vector<std::string> names;
    if (const uint32_t r = split_key(key, names)) return r;
    return impl.transact(generation, write, [&](sqlite3* db) -> uint32_t { return op(db, names); });
}

// The same for one value of a key: `op` also gets the key's id (0 when the
// key does not exist and the operation does not create it).
template <class Impl, class Op>
uint32_t on_value(Impl& impl, const std::string& generation, Root root, std::wstring_view key,
                  std::wstring_view name, bool write, Op&& op) {
    if (!valid_name_text(name)) return valid_root(root) ? VEX_REG_INVALID_PARAMETER : VEX_REG_INVALID_HANDLE;
    const std::string value_name = to_utf8(name);
    return on_key(impl, generation, root, key, write, [&](sqlite3* db, const std::vector<std::string>& names) {
        return op(db, names, value_name);
    });
}

}  // namespace

uint32_t Store::key_exists(Root root, std::wstring_view key) {
    std::lock_guard lock(mutex_);
    return on_key(*impl_, generation_, root, key, false, [&](sqlite3* db, const std::vector<std::string>& names) {
        return find_key(db, root, names) ? VEX_REG_SUCCESS : VEX_REG_FILE_NOT_FOUND;
    });
}

uint32_t Store::key_is_volatile(Root root, std::wstring_view key, bool& is_volatile) {
    std::lock_guard lock(mutex_);
    is_volatile = false;
    return on_key(*impl_, generation_, root, key, false, [&](sqlite3* db, const std::vector<std::string>& names) {
        int64_t id = root_id(root);
        for (const std::string& name : names) {
            Stmt q(db, "SELECT id, volatile FROM keys WHERE parent = ?1 AND name = ?2");
            q.bind(1, id).bind(2, name);
            if (!q.step()) return VEX_REG_FILE_NOT_FOUND;
            id = q.integer(0);
            if (q.integer(1) != 0) is_volatile = true;
        }
        return VEX_REG_SUCCESS;
    });
}

uint32_t Store::create_key(Root root, std::wstring_view key, bool is_volatile) {
    std::lock_guard lock(mutex_);
    return on_key(*impl_, generation_, root, key, true, [&](sqlite3* db, const std::vector<std::string>& names) {
        make_key(db, root, names, is_volatile);
        return VEX_REG_SUCCESS;
    });
}

uint32_t Store::delete_key(Root root, std::wstring_view key) {
    std::lock_guard lock(mutex_);
    return on_key(*impl_, generation_, root, key, true, [&](sqlite3* db, const std::vector<std::string>& names) {
        if (names.empty()) return VEX_REG_ACCESS_DENIED;  // the roots are permanent
        const int64_t id = find_key(db, root, names);
        if (!id) return VEX_REG_FILE_NOT_FOUND;
        Stmt del(db, "DELETE FROM keys WHERE id = ?1");
        del.bind(1, id);
        del.step();
        return VEX_REG_SUCCESS;
    });
}

uint32_t Store::set_value(Root root, std::wstring_view key, std::wstring_view name, const Value& value) {
    std::lock_guard lock(mutex_);
    return on_value(*impl_, generation_, root, key, name, true,
                    [&](sqlite3* db, const std::vector<std::string>& names, const std::string& value_name) {
        const int64_t id = make_key(db, root, names, false);
        // The upsert keeps the name's original spelling when it is rewritten.
        Stmt up(db,
                "INSERT INTO vals(key, name, type, data) VALUES (?1, ?2, ?3, ?4) "
                "ON CONFLICT(key, name) DO UPDATE SET type = excluded.type, data = excluded.data");
        up.bind(1, id).bind(2, value_name).bind(3, static_cast<int64_t>(value.type));
        if (Value::is_string_type(value.type))
            up.bind(4, to_utf8(value.text));
        else if (value.type == kTypeDword)
            up.bind(4, static_cast<int64_t>(value.number));
        else
            up.bind_blob(4, value.bytes);
        up.step();
        return VEX_REG_SUCCESS;
    });
}

uint32_t Store::get_value(Root root, std::wstring_view key, std::wstring_view name, Value& out) {
    out = Value{};
    std::lock_guard lock(mutex_);
    return on_value(*impl_, generation_, root, key, name, false,
                    [&](sqlite3* db, const std::vector<std::string>& names, const std::string& value_name) {
        const int64_t id = find_key(db, root, names);
        if (!id) return VEX_REG_FILE_NOT_FOUND;
        Stmt q(db, "SELECT type, data FROM vals WHERE key = ?1 AND name = ?2");
        q.bind(1, id).bind(2, value_name);
        if (!q.step()) return VEX_REG_FILE_NOT_FOUND;
        Value v;
        v.type = static_cast<uint32_t>(q.integer(0));
        if (Value::is_string_type(v.type))
            v.text = from_utf8(q.text(1));
        else if (v.type == kTypeDword)
            v.number = static_cast<uint32_t>(q.integer(1));
        else
            v.bytes = q.blob(1);
        out = std::move(v);
        return VEX_REG_SUCCESS;
    });
}

uint32_t Store::delete_value(Root root, std::wstring_view key, std::wstring_view name) {
    std::lock_guard lock(mutex_);
    return on_value(*impl_, generation_, root, key, name, true,
                    [&](sqlite3* db, const std::vector<std::string>& names, const std::string& value_name) {
        const int64_t id = find_key(db, root, names);
        if (!id) return VEX_REG_FILE_NOT_FOUND;
        Stmt del(db, "DELETE FROM vals WHERE key = ?1 AND name = ?2");
        del.bind(1, id).bind(2, value_name);
        del.step();
        return sqlite3_changes(db) > 0 ? VEX_REG_SUCCESS : VEX_REG_FILE_NOT_FOUND;
    });
}

namespace {

template <class Impl>
uint32_t count_rows(Impl& impl, const std::string& generation, Root root, std::wstring_view key,
                    const char* sql, uint32_t& count) {
    count = 0;
    return on_key(impl, generation, root, key, false, [&](sqlite3* db, const std::vector<std::string>& names) {
        const int64_t id = find_key(db, root, names);
        if (!id) return VEX_REG_FILE_NOT_FOUND;
        Stmt q(db, sql);
        q.bind(1, id);
        q.step();
        count = static_cast<uint32_t>(q.integer(0));
        return VEX_REG_SUCCESS;
    });
}

template <class Impl>
uint32_t name_at(Impl& impl, const std::string& generation, Root root, std::wstring_view key,
                 uint32_t index, const char* sql, std::wstring& name) {
    name.clear();
    return on_key(impl, generation, root, key, false, [&](sqlite3* db, const std::vector<std::string>& names) {
        const int64_t id = find_key(db, root, names);
        if (!id) return VEX_REG_FILE_NOT_FOUND;
        Stmt q(db, sql);
        q.bind(1, id).bind(2, static_cast<int64_t>(index));
        if (!q.step()) return VEX_REG_NO_MORE_ITEMS;
        name = from_utf8(q.text(0));
        return VEX_REG_SUCCESS;
    });
}

}  // namespace

uint32_t Store::count_subkeys(Root root, std::wstring_view key, uint32_t& count) {
    std::lock_guard lock(mutex_);
    return count_rows(*impl_, generation_, root, key, "SELECT count(*) FROM keys WHERE parent = ?1", count);
}

uint32_t Store::count_values(Root root, std::wstring_view key, uint32_t& count) {
    std::lock_guard lock(mutex_);
    return count_rows(*impl_, generation_, root, key, "SELECT count(*) FROM vals WHERE key = ?1", count);
}

uint32_t Store::subkey_name(Root root, std::wstring_view key, uint32_t index, std::wstring& name) {
    std::lock_guard lock(mutex_);
    return name_at(*impl_, generation_, root, key, index,
                   "SELECT name FROM keys WHERE parent = ?1 ORDER BY name LIMIT 1 OFFSET ?2", name);
}

uint32_t Store::value_name(Root root, std::wstring_view key, uint32_t index, std::wstring& name) {
    std::lock_guard lock(mutex_);
    return name_at(*impl_, generation_, root, key, index,
                   "SELECT name FROM vals WHERE key = ?1 ORDER BY name LIMIT 1 OFFSET ?2", name);
}

uint32_t Store::flush() {
    std::lock_guard lock(mutex_);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kRetryDeadlineMs);
    for (unsigned attempt = 0;; ++attempt) {
        int rc;
        try {
            impl_->open();
            // FULL waits (through the busy handler) for other writers and
            // readers so that the whole WAL is copied into the database; the
            // WAL is synced before and the database file after the copy.
            rc = sqlite3_wal_checkpoint_v2(impl_->db, nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
        } catch (const SqlError& e) {
            rc = e.rc;
        }
        if (rc == SQLITE_OK) return sync_directory(path_) ? VEX_REG_SUCCESS : VEX_REG_IO_FAILED;
        if (!is_busy(rc) || std::chrono::steady_clock::now() >= deadline) return map_error(rc);
        backoff(attempt);
    }
}

std::shared_ptr<Store> current_store() {
    // Never destroyed: other threads may still use the store while the
    // process exits, and the operating system releases the file anyway.
    // `mutex` guards `current`, the store of the registry path in use: it
    // is replaced under it when the path changes, and callers keep their
    // own reference, so a store outlives its replacement while in use.
    static std::mutex* mutex = new std::mutex;
    static std::shared_ptr<Store>* current = new std::shared_ptr<Store>;
    const std::string path = registry_path();
    const std::string generation = volatile_generation();
    std::shared_ptr<Store> store;
    {
        std::lock_guard lock(*mutex);
        if (!*current || (*current)->path() != path) *current = std::make_shared<Store>(path, generation);
        store = *current;
    }
    // A failure here shows again in the operation that follows.
    store->set_generation(generation);
    return store;
}

uint32_t preset_string(const std::string& db_path, Root root, const std::wstring& key,
                       const std::wstring& name, const std::wstring& value) {
    Store store(db_path, std::string());
    return store.set_value(root, key, name, Value::string(value));
}

uint32_t preset_dword(const std::string& db_path, Root root, const std::wstring& key,
                      const std::wstring& name, uint32_t value) {
    Store store(db_path, std::string());
    return store.set_value(root, key, name, Value::dword(value));
}

}  // namespace vex::plat::registry
