#include "ptmatch/ptgdmap/radix_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "grid_points.h"

namespace {

using ptmatch::detail::radixSort;
using Item = std::pair<std::uint64_t, int>;  // key, place in the input

std::vector<Item> items(const std::vector<std::uint64_t>& keys) {
    std::vector<Item> result;
    for (const std::uint64_t key : keys) result.emplace_back(key, static_cast<int>(result.size()));
    return result;
}

void expectSortsLikeStableSort(const std::vector<std::uint64_t>& keys) {
    std::vector<Item> expected = items(keys);
    std::stable_sort(expected.begin(), expected.end(),
                     [](const Item& a, const Item& b) { return a.first < b.first; });
    std::vector<Item> sorted = items(keys);
    radixSort(sorted, [](const Item& item) { return item.first; });
    EXPECT_EQ(sorted, expected);
}

TEST(RadixSort, SortsNothingAndOneItem) {
    expectSortsLikeStableSort({});
    expectSortsLikeStableSort({7});
}

TEST(RadixSort, EqualKeysKeepTheirOrder) {
    expectSortsLikeStableSort({5, 5, 5, 5});
    expectSortsLikeStableSort({2, 1, 2, 1, 0, 2, 1, 0});
}

TEST(RadixSort, EveryByteOfTheKeyCounts) {
    for (unsigned shift = 0; shift < 64; shift += 8) {
        SCOPED_TRACE(shift);
        const std::uint64_t unit = std::uint64_t{1} << shift;
        expectSortsLikeStableSort({3 * unit, 0, 255 * unit, unit, 128 * unit, 0, unit});
    }
    expectSortsLikeStableSort({~std::uint64_t{0}, 0, std::uint64_t{1} << 63U, 0xff00000000000000U});
}

TEST(RadixSort, SortsRandomKeysOfAnySize) {
    ptmatch::testing::Randomness random(1);
    for (const double largest : {10.0, 1e4, 1e9, 1.8e19}) {
        std::vector<std::uint64_t> keys;
        for (int k = 0; k < 2000; ++k) {
            keys.push_back(static_cast<std::uint64_t>(random.between(0, largest)));
        }
        expectSortsLikeStableSort(keys);
    }
}

}  // namespace
