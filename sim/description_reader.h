// Strict reading of description tables (internal to the description
// parser): every key must be known, every value of the right type and
// range. The first problem is kept, as "<source>:<line>:<column>: <what>",
// and parsing goes on only to stay simple (later problems are dropped).
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "sim/toml.h"

#include "sim/description.h"

namespace vex::sim::detail {

class Reader {
public:
    Reader(std::string source, std::string* error) : source_(std::move(source)), error_(error) {}
    bool ok() const { return ok_; }

    void fail(const toml::source_region& where, const std::string& what);
    void fail(const toml::node& where, const std::string& what) { fail(where.source(), what); }

    // Refuses any key of `t` that is not in `allowed`.
    void only(const toml::table& t, std::initializer_list<const char*> allowed, const std::string& what);

    // A whole number from lo to hi; `fallback` when the key is absent.
    int64_t integer(const toml::table& t, const char* key, int64_t fallback, int64_t lo, int64_t hi,
                    const std::string& what);
    template <typename T>
    T small(const toml::table& t, const char* key, T fallback, int64_t lo, int64_t hi, const std::string& what) {
        return static_cast<T>(integer(t, key, fallback, lo, hi, what));
    }
    bool boolean(const toml::table& t, const char* key, bool fallback, const std::string& what);
    std::string text(const toml::table& t, const char* key, const std::string& fallback, size_t max_len,
                     const std::string& what);
    // A list of numbers (whole or not) from lo to hi, at most max_items long.
    std::vector<float> numbers(const toml::table& t, const char* key, size_t max_items, double lo, double hi,
                               const std::string& what);
    // The tables of an array of tables; a key that holds anything else is an error.
    std::vector<const toml::table*> tables(const toml::table& t, const char* key, const std::string& what);
    // A table (inline or not); null when absent or not a table (an error).
    const toml::table* table(const toml::table& t, const char* key, const std::string& what);

private:
    std::string source_;
    std::string* error_;
    bool ok_ = true;
};

// Serial parts of a description (description_serial.cpp).
SerialModuleDescription read_serial_module(Reader& r, const toml::table& t, const std::string& what,
                                           std::initializer_list<const char*> extra_keys);
FaultDescription read_fault(Reader& r, const toml::table& t, bool module, const std::string& what);
void read_port(Reader& r, const toml::table& t, Description& d);
// Checks across the description: addresses unique per bus, COM0: carries no
// bus modules, checksum defaults from the ports.
void check_serial(Reader& r, const toml::table& root, Description& d);

}  // namespace vex::sim::detail
