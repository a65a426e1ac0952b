// The load sequence's registry reads, answered from a small text file beside
// the database ("<database>.snapshot") while the database is unchanged, so
// that loading the library touches no page of SQLite (about a megabyte of
// resident text once a query has run).
//
// The snapshot names the target's generation and the identity, size and
// modification time of the database file and of its write-ahead log; it
// answers only while all of them are as recorded. Every write to the store
// changes one of them, so a changed database is read again. It is written
// only after a read from the store that the files did not change around,
// and only when they had been quiet for three seconds before: a write in
// the same clock tick as the last recorded one could otherwise keep its
// time stamp (a tick is a few milliseconds on most file systems, two
// seconds on FAT). Writing is best effort (a folder we may not write in just means
// every load reads the store); the file is replaced by rename, so readers
// see the old or the new one whole.
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "platform/registry_store.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "vexsdk/registry.h"

namespace vex::plat::registry {
namespace {

constexpr const char* kMagic = "vexsdk registry snapshot 1\n";
constexpr int64_t kQuietNs = 3000000000;
// Far more than the few entries the load sequence makes.
constexpr size_t kMaxBytes = 16384;

int64_t ns_of(const struct timespec& t) { return static_cast<int64_t>(t.tv_sec) * 1000000000 + t.tv_nsec; }

// The state of the database files as one line; false when there is no
// database or a rollback journal is pending (an interrupted write).
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

std::string header(const std::string& generation, const std::string& state) {
    return std::string(kMagic) + "generation " + generation + "\n" + state;
}

// One entry: "<root> <result> <type> <key bytes> <name bytes> <text bytes>\n"
// then the three fields' bytes and a newline.
std::string entry(Root root, uint32_t result, const Value& v, const std::string& key, const std::string& name) {
    const std::string text = to_utf8(v.text);
    char line[96];
    std::snprintf(line, sizeof line, "%u %u %u %zu %zu %zu\n", static_cast<unsigned>(root), result, v.type,
                  key.size(), name.size(), text.size());
    return line + key + name + text + "\n";
}

// Finds the entry in `body` (everything after the header); false when it
// is absent or the body does not parse.
bool find(const std::string& body, Root root, const std::string& key, const std::string& name, uint32_t& result,
          Value& out) {
    size_t at = 0;
    while (at < body.size()) {
        const size_t eol = body.find('\n', at);
        if (eol == std::string::npos) return false;
        unsigned r = 0, res = 0, type = 0;
        size_t kn = 0, nn = 0, tn = 0;
        const std::string line = body.substr(at, eol - at);
        if (std::sscanf(line.c_str(), "%u %u %u %zu %zu %zu", &r, &res, &type, &kn, &nn, &tn) != 6) return false;
        const size_t fields = eol + 1;
        if (kn > kMaxBytes || nn > kMaxBytes || tn > kMaxBytes || fields + kn + nn + tn + 1 > body.size()) return false;
        if (r == static_cast<unsigned>(root) && body.compare(fields, kn, key) == 0 && kn == key.size() &&
            nn == name.size() && body.compare(fields + kn, nn, name) == 0) {
            result = res;
            out = Value{};
            out.type = type;
            out.text = from_utf8(std::string_view(body).substr(fields + kn + nn, tn));
            return true;
        }
        at = fields + kn + nn + tn + 1;
    }
    return false;
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

}  // namespace

uint32_t get_value_at_load(Root root, std::wstring_view key, std::wstring_view name, Value& out) {
    const std::string db = registry_path();
    if (db.empty()) return current_store()->get_value(root, key, name, out);
    const std::string snapshot_path = db + ".snapshot";
    const std::string key8 = to_utf8(key), name8 = to_utf8(name);
    const std::string generation = volatile_generation();

    std::string before;
    int64_t newest = 0;
    const bool have_files = files_state(db, before, newest);
    const std::string head = header(generation, before);
    std::string snapshot = have_files ? read_file(snapshot_path) : std::string();
    const bool current = snapshot.size() >= head.size() && snapshot.compare(0, head.size(), head) == 0;
    uint32_t result = 0;
    if (current && find(snapshot.substr(head.size()), root, key8, name8, result, out)) return result;

    result = current_store()->get_value(root, key, name, out);
    // Only the answers the load sequence can act on: a string, or nothing.
    const bool keep = (result == VEX_REG_SUCCESS && Value::is_string_type(out.type)) || result == VEX_REG_FILE_NOT_FOUND;
    std::string after;
    int64_t newest_after = 0;
    if (!keep || !have_files || !files_state(db, after, newest_after) || after != before ||
        newest_after > realtime_ns() - kQuietNs)
        return result;
    const Value recorded = result == VEX_REG_SUCCESS ? out : Value{};
    const std::string entries = current ? snapshot.substr(head.size()) : std::string();
    const std::string data = head + entries + entry(root, result, recorded, key8, name8);
    if (data.size() <= kMaxBytes) replace_file(snapshot_path, data);
    return result;
}

}  // namespace vex::plat::registry
