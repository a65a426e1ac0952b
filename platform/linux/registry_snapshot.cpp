// The load sequence's registry reads, answered from a small text file beside
// the database ("<database>.snapshot") while the database is unchanged, so
// that loading the library touches no page of SQLite (about a megabyte of
// resident text once a query has run).
//
// The snapshot names the identity, size and modification time of the
// database file and of its write-ahead log; it answers only while all of
// them are as recorded. Every write to the store changes one of them, so a
// changed database is read again. It is written only after a read from the
// store that the files did not change around, and only when they had been
// quiet for three seconds before: a write in the same clock tick as the last
// recorded one could otherwise keep its time stamp (a tick is a few
// milliseconds on most file systems, two seconds on FAT). Writing is best
// effort (a folder we may not write in just means every load reads the
// store); the file is replaced by rename, so readers see the old or the new
// one whole.
//
// Strings and numbers are kept (the load sequence reads strings, a virtual
// controller's power-up compares its number and string presets before
// writing them), and the absence of a value.
//
// A restart of the target (a new generation) deletes volatile keys the next
// time the store is used, and bringing the database into the generation is
// a write. So the store is read here without that step, which is exact for
// an absent value and for one outside volatile keys (purging only takes
// volatile keys away); a value in a volatile key is read again through the
// store of the current generation and never recorded. The first load after
// boot, or a program that powers up its own virtual controller, then needs
// no SQLite either.
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/registry_store.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "vexsdk/registry.h"

namespace vex::plat::registry {
namespace {

constexpr const char* kMagic = "vexsdk registry snapshot 3\n";
constexpr int64_t kQuietNs = 3000000000;
// Far more than the few entries the load sequence makes.
constexpr size_t kMaxBytes = 16384;

int64_t ns_of(const struct timespec& t) { return static_cast<int64_t>(t.tv_sec) * 1000000000 + t.tv_nsec; }

// The state of the database files as text; false when there is no database
// or a rollback journal is pending (an interrupted write).
bool files_state(const std::string& db, std::string& state, int64_t& newest_ns) {
    struct stat d {};
    if (::stat(db.c_str(), &d) != 0) return false;
    struct stat j {};
    if (::stat((db + "-journal").c_str(), &j) == 0 && j.st_size > 0) return false;
    char line[256];
    std::snprintf(line, sizeof line, "db %llu %llu %lld %lld\n", static_cast<unsigned long long>(d.st_dev),
                  static_cast<unsigned long long>(d.st_ino), static_cast<long long>(d.st_size),
                  static_cast<long long>(ns_of(d.st_mtim)));
    state = line;
    newest_ns = ns_of(d.st_mtim);
    // An empty or absent log holds nothing: both read the same.
    struct stat w {};
    if (::stat((db + "-wal").c_str(), &w) == 0 && w.st_size > 0) {
        std::snprintf(line, sizeof line, "wal %llu %lld %lld\n", static_cast<unsigned long long>(w.st_ino),
                      static_cast<long long>(w.st_size), static_cast<long long>(ns_of(w.st_mtim)));
        state += line;
        if (ns_of(w.st_mtim) > newest_ns) newest_ns = ns_of(w.st_mtim);
    } else {
        state += "wal empty\n";
    }
    return true;
}

// One entry: "<root> <result> <type> <key bytes> <name bytes> <text
// bytes>\n", then the three fields' bytes and a newline.
struct Entry {
    unsigned root = 0, result = 0, type = 0;
    std::string key, name, text;
};

std::string format(const Entry& e) {
    char line[128];
    std::snprintf(line, sizeof line, "%u %u %u %zu %zu %zu\n", e.root, e.result, e.type, e.key.size(), e.name.size(),
                  e.text.size());
    return line + e.key + e.name + e.text + "\n";
}

// Reads the entry at `at` of `body` and moves past it; false at the end or
// when the body does not parse.
bool next(const std::string& body, size_t& at, Entry& e) {
    const size_t eol = body.find('\n', at);
    if (eol == std::string::npos) return false;
    const std::string line = body.substr(at, eol - at);
    size_t kn = 0, nn = 0, tn = 0;
    if (std::sscanf(line.c_str(), "%u %u %u %zu %zu %zu", &e.root, &e.result, &e.type, &kn, &nn, &tn) != 6)
        return false;
    const size_t fields = eol + 1;
    if (kn > kMaxBytes || nn > kMaxBytes || tn > kMaxBytes || fields + kn + nn + tn + 1 > body.size() ||
        body[fields + kn + nn + tn] != '\n')
        return false;
    e.key = body.substr(fields, kn);
    e.name = body.substr(fields + kn, nn);
    e.text = body.substr(fields + kn + nn, tn);
    at = fields + kn + nn + tn + 1;
    return true;
}

// The entries of a snapshot taken of the database files as they are now;
// false for any other snapshot or one that does not parse.
bool current_entries(const std::string& data, const std::string& state, std::vector<Entry>& out) {
    const std::string head = std::string(kMagic) + state;
    if (data.compare(0, head.size(), head) != 0) return false;
    size_t at = head.size();
    Entry e;
    while (at < data.size()) {
        if (!next(data, at, e)) return false;
        out.push_back(e);
    }
    return true;
}

std::string read_file(const std::string& path) {
    std::string data;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return data;
    char buf[4096];
    ssize_t n;
    while (data.size() <= kMaxBytes && (n = ::read(fd, buf, sizeof buf)) > 0) data.append(buf, static_cast<size_t>(n));
    ::close(fd);
    return data.size() <= kMaxBytes ? data : std::string();
}

void replace_file(const std::string& path, const std::string& data) {
    const std::string temp = path + "." + std::to_string(::getpid());
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (fd < 0) return;
    const bool written = ::write(fd, data.data(), data.size()) == static_cast<ssize_t>(data.size());
    if (::close(fd) == 0 && written && ::rename(temp.c_str(), path.c_str()) == 0) return;
    ::unlink(temp.c_str());
}

int64_t realtime_ns() {
    struct timespec now {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return ns_of(now);
}

// The text an answer is kept as: a string as UTF-8, a number in decimal.
std::string kept_text(const Value& v) { return v.type == kTypeDword ? std::to_string(v.number) : to_utf8(v.text); }

Value value_of(const Entry& e) {
    Value v;
    v.type = e.type;
    if (e.type == kTypeDword)
        v.number = static_cast<uint32_t>(std::strtoul(e.text.c_str(), nullptr, 10));
    else
        v.text = from_utf8(e.text);
    return v;
}

// The lookup on database `db`; `store_of` gives the store of the target's
// current generation.
template <typename StoreOf>
uint32_t lookup(const std::string& db, StoreOf store_of, Root root,
                std::wstring_view key, std::wstring_view name, Value& out) {
    const std::string snapshot_path = db + ".snapshot";
    Entry wanted;
    wanted.root = static_cast<unsigned>(root);
    wanted.key = to_utf8(key);
    wanted.name = to_utf8(name);

    std::string before;
    int64_t newest = 0;
    const bool have_files = files_state(db, before, newest);
    std::vector<Entry> entries;
    const bool current = have_files && current_entries(read_file(snapshot_path), before, entries);
    for (const Entry& e : entries) {
        if (e.root != wanted.root || e.key != wanted.key || e.name != wanted.name) continue;
        out = value_of(e);
        return e.result;
    }

    // No database holds no values, and a read makes none (nor the folder of
    // a virtual controller destroyed under the program). One with a write
    // pending is the store's to sort out.
    if (!have_files) {
        struct stat st {};
        if (::stat(db.c_str(), &st) != 0 && errno == ENOENT) return VEX_REG_FILE_NOT_FOUND;
        return store_of().get_value(root, key, name, out);
    }
    // Read without bringing the database into the current generation: that
    // would be a write, and a snapshot is only recorded while the files
    // stay as they are. Purging only takes volatile keys away, so an
    // absent value and a value outside volatile keys read the same either
    // way; a value in a volatile key is read again through `store_of`,
    // which purges first, and never recorded.
    Store unsynced(db, std::string());
    uint32_t result = unsynced.get_value(root, key, name, out);
    bool is_volatile = false;
    if (result == VEX_REG_SUCCESS && unsynced.key_is_volatile(root, key, is_volatile) != VEX_REG_SUCCESS)
        is_volatile = true;  // cannot tell: take the safe side
    if (is_volatile) return store_of().get_value(root, key, name, out);
    // Only the answers the load sequence and the presets act on: a string,
    // a number, or nothing.
    if (result == VEX_REG_SUCCESS && !Value::is_string_type(out.type) && out.type != kTypeDword) return result;
    if (result != VEX_REG_SUCCESS && result != VEX_REG_FILE_NOT_FOUND) return result;
    std::string after;
    int64_t newest_after = 0;
    if (!files_state(db, after, newest_after) || after != before ||
        newest_after > realtime_ns() - kQuietNs)
        return result;
    wanted.result = result;
    wanted.type = result == VEX_REG_SUCCESS ? out.type : 0;
    wanted.text = result == VEX_REG_SUCCESS ? kept_text(out) : std::string();
    if (!current) entries.clear();
    entries.push_back(wanted);
    std::string data = std::string(kMagic) + after;
    for (const Entry& e : entries) data += format(e);
    if (data.size() <= kMaxBytes) replace_file(snapshot_path, data);
    return result;
}

}  // namespace

uint32_t get_value_at_load(Root root, std::wstring_view key, std::wstring_view name, Value& out) {
    const std::string db = registry_path();
    std::shared_ptr<Store> store;
    auto store_of = [&]() -> Store& {
        if (!store) store = current_store();
        return *store;
    };
    if (db.empty()) return store_of().get_value(root, key, name, out);
    return lookup(db, store_of, root, key, name, out);
}

uint32_t get_value_at_load(const std::string& db_path, const std::string& generation, Root root,
                           std::wstring_view key, std::wstring_view name, Value& out) {
    std::unique_ptr<Store> store;
    auto store_of = [&]() -> Store& {
        if (!store) store = std::make_unique<Store>(db_path, generation);
        return *store;
    };
    return lookup(db_path, store_of, root, key, name, out);
}

}  // namespace vex::plat::registry
