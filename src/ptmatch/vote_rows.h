#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ptmatch/vote_kernel.h"

namespace ptmatch::detail {

/// Which votes at or above the threshold count as candidates.
enum class PeakRule { LocalMaxima, EveryVote };

/// Rows of a window of translations that are looked at for peaks at a time: whole bands of
/// kBlockRows rows, or the whole window if that is less.
long rowsPerPart(long width, long height);

/// The votes that reach the threshold in some consecutive rows of the window, from which peaks are
/// told; all others are 0, which is below every threshold.
///
/// Rows go through in parts: a part is filled, its peaks are visited, and the next part is begun.
/// The last row of a part waits for the first one of the next, its neighbour.
class VoteRows {
  public:
    /// @param width     columns of the window.
    /// @param capacity  rows of a part at most.
    VoteRows(long width, long capacity);

    /// What the rows of a width and capacity take.
    static double bytes(long width, long capacity);

    /// Enters a vote above 0 at a row of the part.
    void enter(long row, long column, std::int32_t vote) {
        const long line = row + kKept;
        votes_[indexOf_(line, column)] = vote;
        hasVotes_ = true;
        words_[static_cast<std::size_t>(line * wordsPerLine_ + column / 64)] |= std::uint64_t{1}
                                                                                << (column % 64);
    }

    /// Calls visit(row, column, vote) for the peaks, in raster order: from row -1, which waited, to
    /// the last but one of the part's `numRows`, and that one too if no part follows.
    template <class Visit>
    void forEachPeak(long numRows, bool isLast, PeakRule rule, Visit&& visit) const {
        for (long line = kKept - 1; line < kKept + numRows - (isLast ? 0 : 1); ++line) {
            forEachVote_(line, [&](long column) {
                const std::size_t at = indexOf_(line, column);
                if (rule == PeakRule::EveryVote || isLocalMaximum_(at)) {
                    visit(line - kKept, column, votes_[at]);
                }
            });
        }
    }

    /// Begins the next part: keeps the last two rows, which its first row has to do with.
    void advance(long numRows);

    /// Forgets all votes of a part and of what waited.
    void clear(long numRows);

    /// Whether any vote was entered, or waits.
    bool hasVotes() const { return hasVotes_; }

  private:
    static constexpr long kKept = 2;

    static std::size_t numVotes_(long width, long capacity) {
        return static_cast<std::size_t>((kKept + capacity + 1) * (width + 2));
    }
    static std::size_t numWords_(long width, long capacity) {
        return static_cast<std::size_t>((kKept + capacity) * wordsPerRow_(width));
    }
    static long wordsPerRow_(long width) { return (width + 63) / 64; }

    // A column of zeros on either side; a line of zeros below the last one is the caller's part.
    std::size_t indexOf_(long line, long column) const {
        return static_cast<std::size_t>(line * stride_ + column + 1);
    }

    // True when no neighbour is above the vote. Ties are broken towards the first in raster order
    // of a plateau's row: strictly greater than the neighbours to the left (three) and above, not
    // less than those to the right (three) and below.
    bool isLocalMaximum_(std::size_t at) const {
        const std::int32_t* row = votes_.data() + at;
        const std::int32_t* above = row - stride_;
        const std::int32_t* below = row + stride_;
        const std::int32_t vote = *row;
        return row[-1] < vote && above[0] < vote && above[-1] < vote && below[-1] < vote &&
               row[1] <= vote && above[1] <= vote && below[0] <= vote && below[1] <= vote;
    }

    template <class Visit>
    void forEachVote_(long line, Visit&& visit) const {
        const std::uint64_t* words = words_.data() + static_cast<std::size_t>(line * wordsPerLine_);
        for (long w = 0; w < wordsPerLine_; ++w) {
            for (std::uint64_t left = words[w]; left != 0; left &= left - 1) {
                visit(64 * w + std::countr_zero(left));
            }
        }
    }

    void erase_(long line);
    void move_(long from, long to);

    long stride_;
    long wordsPerLine_;
    bool hasVotes_ = false;
    std::vector<std::int32_t> votes_;
    std::vector<std::uint64_t> words_;  // where the votes are
};

}  // namespace ptmatch::detail
