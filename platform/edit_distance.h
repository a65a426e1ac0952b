// Edit distance (insertions, deletions, substitutions) between two short
// texts, for "did you mean" hints. Pure; the caller bounds the lengths.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace vex::plat {

inline size_t edit_distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t up = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = up;
        }
    }
    return row[b.size()];
}

}  // namespace vex::plat
