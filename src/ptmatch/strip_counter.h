#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "ptmatch/mark_bitmap.h"
#include "ptmatch/placed_points.h"
#include "ptmatch/vote_kernel.h"

namespace ptmatch::detail {

/// Counts blocks of votes, one strip (64 columns of tiles) after the other and in each from top to
/// bottom. Points that see no mark from a block are left out of it.
class StripCounter {
  public:
    explicit StripCounter(const VoteKernel& kernel) : countBlock_(kernel.countBlock) {}

    /// Takes the points of a lattice point, as they see a bitmap. Allocates when there are more
    /// than ever before.
    void prepare(const MarkBitmap& bitmap, const PlacedPoints::Digits& points);

    /// Goes to a strip of that bitmap: picks the points that may see marks from it.
    void aimAt(long strip);

    /// Counts the block of a band, kBlockRows rows of tiles. The bands of one strip must ascend.
    /// @return whether any cell reaches the threshold; only then there are planes and survivors.
    bool count(long band, long threshold);

    /// Cells that reach the threshold, a word for each row.
    std::uint64_t survivors(int row) const { return survivors_[row]; }

    /// Views counted since it was last asked, blocks that end early included.
    std::int64_t takeNumViews() { return std::exchange(numViews_, 0); }

    /// The vote of a cell of the last block.
    long voteAt(int row, int column) const {
        std::uint64_t vote = 0;
        for (unsigned p = 0; p < numPlanes_; ++p) {
            vote |= ((planes_[p * kBlockRows + static_cast<unsigned>(row)] >> column) & 1) << p;
        }
        return static_cast<long>(vote);
    }

  private:
    // A point as it sees the first strip and band of a bitmap.
    struct Watcher {
        MarkView view;
        std::int64_t column;
        std::int64_t row;
    };

    // The points of one digit that see the strip, and which of them see the band.
    struct Digit {
        std::size_t begin;  // in views_ and rows_
        std::size_t liveBegin;
        std::size_t liveEnd;
    };

    void makeRoom_(const PlacedPoints::Digits& points);
    void narrowTo_(long band, Digit& digit) const;

    CountBlock countBlock_;
    const MarkBitmap* bitmap_ = nullptr;
    std::vector<Watcher> watchers_;       // digit after digit
    std::vector<std::size_t> digitEnds_;  // in watchers_
    std::vector<MarkView> views_;         // of the watchers that see the strip
    std::vector<std::int64_t> rows_;
    std::ptrdiff_t stripOffset_ = 0;  // words from the first strip to this one
    std::vector<Digit> digits_;
    std::vector<ViewGroup> groups_;
    unsigned numPlanes_ = 0;
    std::int64_t numViews_ = 0;
    std::uint64_t planes_[kMaxPlanes * kBlockRows];
    std::uint64_t survivors_[kBlockRows];
};

}  // namespace ptmatch::detail
