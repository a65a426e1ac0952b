// The TOML parser as every part of the library and its tools must include
// it (never <toml++/toml.h> directly).
//
// The parser checks its own state with assertions. On some malformed input
// (a table header "[#", for one) such a check fails: with assertions on
// that aborts the process, and in an optimised build the parser assumes
// the check holds (a compiler "assume") and goes on with undefined
// behaviour. Neither is acceptable for a file a user wrote by hand. The
// checks that input can trip are followed by the parser's own error path
// ("expected bare key starting character ..."), so here they are compiled
// out, and never turned into assumptions, in every build: the parser then
// reports a parse error with line and column as for any other bad input.
// (Many checks sit in noexcept functions, so they cannot throw instead.)
#pragma once

#pragma push_macro("NDEBUG")
#undef NDEBUG
#undef TOML_ASSERT
#define TOML_ASSERT(expr) static_assert(true)
#include <toml++/toml.h>
#pragma pop_macro("NDEBUG")
// Restore assert() to what this translation unit asked for.
#include <cassert>
