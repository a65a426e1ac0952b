// Profile lookups and writes over whole files.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <memory>
#include <new>

#include "platform/text_codec.h"
#include "services/profile.h"

namespace vex::profile {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

enum class Read { Ok, Missing, Failed };

// The whole file into *bytes.
Read read_file(const std::string& path, std::string* bytes) {
    errno = 0;
    File f(std::fopen(path.c_str(), "rb"));
    if (!f) return errno == ENOENT ? Read::Missing : Read::Failed;
    char chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) bytes->append(chunk, n);
    return std::ferror(f.get()) ? Read::Failed : Read::Ok;
}

const Entry* find_entry(const Profile& profile, std::wstring_view section, std::wstring_view key) {
    for (const Section& s : profile) {
        if (s.name != section) continue;
        for (const Entry& e : s.entries) {
            if (e.key == key) return &e;
        }
        return nullptr;  // only the first section of a name counts
    }
    return nullptr;
}

bool has_line_break(std::wstring_view text) {
    return text.find_first_of(std::wstring_view(L"\n\r\0", 3)) != std::wstring_view::npos;
}

// A key and value that would read back as this entry of this section.
bool writable(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
    if (key.empty() || key.find(L'=') != std::wstring_view::npos) return false;
    if (key.front() == L';' || key.front() == L'[') return false;
    return !has_line_break(section) && !has_line_break(key) && !has_line_break(value);
}

bool save(const std::string& path, const Profile& profile) {
    const std::string text = render(profile);
    File f(std::fopen(path.c_str(), "wb"));
    if (!f) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), f.get()) == text.size();
    return std::fclose(f.release()) == 0 && written;
}

bool isspace_c(wchar_t c) { return c == L' ' || (c >= L'\t' && c <= L'\r'); }

}  // namespace

std::optional<Profile> load(const std::string& path) {
    try {
        std::string bytes;
        if (read_file(path, &bytes) != Read::Ok) return std::nullopt;
        return parse(bytes);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

std::string render(const Profile& profile) {
    std::string text;
    for (size_t i = 0; i < profile.size(); ++i) {
        if (i) text += '\n';
        text += '[' + plat::to_utf8(profile[i].name) + "]\n";
        for (const Entry& e : profile[i].entries) text += plat::to_utf8(e.key) + '=' + plat::to_utf8(e.value) + '\n';
    }
    return text;
}

bool get_string(const std::string& path, std::wstring_view section, std::wstring_view key,
                std::wstring_view default_value, std::wstring* out) {
    if (!out) return false;
    try {
        const std::optional<Profile> profile = load(path);
        const Entry* e = profile ? find_entry(*profile, section, key) : nullptr;
        out->assign(e ? std::wstring_view(e->value) : default_value);
        return e != nullptr;
    } catch (const std::bad_alloc&) {
        out->clear();
        return false;
    }
}

int32_t to_int(std::wstring_view text) {
    text = text.substr(0, kIntMax);
    size_t i = 0;
    while (i < text.size() && isspace_c(text[i])) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) negative = text[i++] == L'-';
    int64_t value = 0;  // nine characters cannot overflow it
    for (; i < text.size() && text[i] >= L'0' && text[i] <= L'9'; ++i) value = value * 10 + (text[i] - L'0');
    return static_cast<int32_t>(negative ? -value : value);
}

int32_t get_int(const std::string& path, std::wstring_view section, std::wstring_view key, int32_t default_value) {
    std::wstring value;
    if (!get_string(path, section, key, L"", &value)) return default_value;
    return to_int(value);
}

bool write_string(const std::string& path, std::wstring_view section, std::wstring_view key,
                  std::wstring_view value) {
    if (!writable(section, key, value)) return false;
    try {
        // A missing or rejected file starts an empty profile (and the
        // rejected text is replaced); one that exists but cannot be read
        // is left alone.
        std::string bytes;
        const Read read = read_file(path, &bytes);
        if (read == Read::Failed) return false;
        Profile profile = read == Read::Ok ? parse(bytes).value_or(Profile{}) : Profile{};
        const std::wstring name(section.substr(0, kSectionMax));
        const std::wstring k(key.substr(0, kKeyMax));
        const std::wstring v(value.substr(0, kValueMax));
        Section* target = nullptr;
        for (Section& s : profile) {
            if (s.name == name) {
                target = &s;
                break;
            }
        }
        if (!target) {
            profile.insert(profile.begin(), Section{name, {Entry{k, v}}});
        } else {
            Entry* e = nullptr;
            for (Entry& candidate : target->entries) {
                if (candidate.key == k) {
                    e = &candidate;
                    break;
                }
            }
            if (e)
                e->value = v;
            else
                target->entries.insert(target->entries.begin(), Entry{k, v});
        }
        return save(path, profile);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool write_int(const std::string& path, std::wstring_view section, std::wstring_view key, int32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(value));
    return write_string(path, section, key, plat::from_utf8(text));
}

std::string float_text(double value) {
    constexpr double kLimit = 9.99e21;
    if (value > kLimit) value = kLimit;
    if (value < -kLimit) value = -kLimit;
    char text[64];  // at most 22 digits, a sign, a point and six decimals
    std::snprintf(text, sizeof text, "%.6f", value);
    std::string s(text);
    while (!s.empty() && s.back() == '0') s.pop_back();
    return s;
}

bool write_float(const std::string& path, std::wstring_view section, std::wstring_view key, double value) {
    if (std::isnan(value)) return false;
    return write_string(path, section, key, plat::from_utf8(float_text(value)));
}

}  // namespace vex::profile
