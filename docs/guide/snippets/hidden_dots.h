#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

#include "foundation/vector.h"

/// The data without the partners of some model points: of every thirty those at 0, 7, 14 and so on
/// (modulo 30), `count` of them.
inline std::vector<rxVector<2>> withHiddenDots(const std::vector<rxVector<2>>& data,
                                               const std::vector<long>& map, long count) {
    std::vector<rxVector<2>> seen;
    for (std::size_t k = 0; k < data.size(); ++k) {
        const long place =
            static_cast<long>(std::ranges::find(map, static_cast<long>(k)) - map.begin());
        const bool isDot = place < std::ssize(map);
        // 13 undoes 7: 7 * 13 = 91 = 1 (modulo 30).
        if (!isDot || place * 13 % 30 >= count) seen.push_back(data[k]);
    }
    return seen;
}
