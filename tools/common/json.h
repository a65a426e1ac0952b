// A small JSON writer for the tools' --json output: one document built in
// memory and printed at the end, so a command that fails half-way prints
// no half document.
//
// Strings are taken as bytes: valid UTF-8 passes through, control
// characters, '"' and '\' are escaped, and each byte that is not part of a
// valid UTF-8 sequence becomes U+FFFD, so the output is always valid JSON
// whatever a register or a device sent. Keys follow the same rule.
//
//   Json j;
//   j.open_object().field("slot", 2).key("inputs").open_array();
//   j.value(1).value(0).close().close();
//   j.print();   // {"slot":2,"inputs":[1,0]}
//
// Nesting is the caller's to balance; print() checks it (an unbalanced
// document is a bug in the tool and aborts with a message).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vex::tools {

class Json {
public:
    Json& open_object();
    Json& open_array();
    Json& close();
    // Inside an object: the name of the next value.
    Json& key(std::string_view name);
    Json& value(std::string_view text);
    Json& value(const char* text) { return value(std::string_view(text)); }
    Json& value(const std::string& text) { return value(std::string_view(text)); }
    Json& value(int64_t number);
    Json& value(uint64_t number);
    Json& value(int number) { return value(static_cast<int64_t>(number)); }
    Json& value(unsigned number) { return value(static_cast<uint64_t>(number)); }
    Json& value(double number);  // non-finite numbers become null
    Json& value(bool flag);
    Json& null();
    template <typename T>
    Json& field(std::string_view name, const T& v) {
        return key(name).value(v);
    }

    const std::string& text() const { return out_; }
    // Prints the document and a newline on stdout.
    void print() const;

    // `text` as a JSON string literal, quotes included.
    static std::string quote(std::string_view text);

private:
    void before_value();
    std::string out_;
    std::vector<char> stack_;  // '{' or '['
    bool first_ = true;        // no element yet in the innermost container
    bool after_key_ = false;
};

// The --json switch both tools offer: set by the command line, read by
// every command that prints data.
bool& json_output();

}  // namespace vex::tools
