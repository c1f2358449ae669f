#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "ptmatch/tile_extent.h"

namespace ptmatch::detail {

/// Which blocks of a tile size may hold a vote to look for.
class BlockFlags {
  public:
    BlockFlags() = default;
    explicit BlockFlags(const TileExtent& extent)
        : extent_(extent),
          flags_(static_cast<std::size_t>(extent.blocks())),
          bands_(static_cast<std::size_t>(extent.bands)) {}

    /// What the flags of an extent take.
    static double bytes(const TileExtent& extent) {
        return static_cast<double>(extent.blocks() + extent.bands);
    }

    const TileExtent& extent() const { return extent_; }
    long numFlagged() const { return numFlagged_; }
    bool isFull() const { return numFlagged_ == extent_.blocks(); }

    void clear() {
        flags_.assign(flags_.size(), 0);
        bands_.assign(bands_.size(), 0);
        numFlagged_ = 0;
    }

    /// Flags every block.
    void setAll() {
        flags_.assign(flags_.size(), 1);
        bands_.assign(bands_.size(), 1);
        numFlagged_ = extent_.blocks();
    }

    /// Flags these blocks alone, by their numbers: strip times bands plus band.
    void setOnly(std::span<const std::uint32_t> indices) {
        clear();
        for (const std::uint32_t i : indices) set(i / extent_.bands, i % extent_.bands);
    }

    /// Appends the flagged blocks, in the order of their numbers.
    void appendTo(std::vector<std::uint32_t>& indices) const {
        for (std::size_t i = 0; i < flags_.size(); ++i) {
            if (flags_[i] != 0) indices.push_back(static_cast<std::uint32_t>(i));
        }
    }

    /// Blocks beyond the extent are ignored.
    void set(long strip, long band) {
        if (strip >= extent_.strips || band >= extent_.bands) return;
        unsigned char& flag = flags_[static_cast<std::size_t>(strip * extent_.bands + band)];
        numFlagged_ += flag == 0 ? 1 : 0;
        flag = 1;
        bands_[static_cast<std::size_t>(band)] = 1;
    }

    /// The first flagged band of a strip from `band` on, or `end` when there is none before.
    long nextInStrip(long strip, long band, long end) const {
        return next(flags_.data() + strip * extent_.bands, band, end);
    }

    /// The first band from `band` on in which any strip is flagged, or `end`.
    long nextBand(long band, long end) const { return next(bands_.data(), band, end); }

  private:
    static long next(const unsigned char* flags, long from, long end) {
        if (from >= end) return end;
        const void* found = std::memchr(flags + from, 1, static_cast<std::size_t>(end - from));
        return found == nullptr
                   ? end
                   : static_cast<long>(static_cast<const unsigned char*>(found) - flags);
    }

    TileExtent extent_;
    std::vector<unsigned char> flags_;  // strip after strip
    std::vector<unsigned char> bands_;
    long numFlagged_ = 0;
};

}  // namespace ptmatch::detail
