#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ptmatch::detail {

/// Sorts by an unsigned 64-bit key; items of equal keys keep their order. Least significant byte
/// first, one pass per byte that differs between items: linear, and for small keys two passes.
///
/// @param key  key(item), asked several times for each.
template <class Item, class Key>
void radixSort(std::vector<Item>& items, Key&& key) {
    constexpr std::size_t kBytes = 8;
    constexpr std::size_t kValues = 256;
    const auto byteOf = [&](const Item& item, std::size_t byte) {
        return static_cast<std::size_t>(static_cast<std::uint64_t>(key(item)) >> (8 * byte)) &
               (kValues - 1);
    };

    std::array<std::array<std::size_t, kValues>, kBytes> counts{};
    for (const Item& item : items) {
        for (std::size_t byte = 0; byte < kBytes; ++byte) ++counts[byte][byteOf(item, byte)];
    }
    std::vector<Item> sorted;
    for (std::size_t byte = 0; byte < kBytes; ++byte) {
        if (items.empty() || counts[byte][byteOf(items.front(), byte)] == items.size()) continue;
        std::array<std::size_t, kValues>& next = counts[byte];
        std::size_t begin = 0;
        for (std::size_t& place : next) begin += std::exchange(place, begin);
        sorted.resize(items.size());
        for (const Item& item : items) sorted[next[byteOf(item, byte)]++] = item;
        items.swap(sorted);
    }
}

}  // namespace ptmatch::detail
