#include "ptmatch/gridcorr/placement_search.h"

#include <algorithm>
#include <bit>

namespace ptmatch::detail {
namespace {

bool anySet(const BitBlock& block) {
    return std::any_of(block.begin(), block.end(), [](std::uint64_t row) { return row != 0; });
}

BitBlock both(const BitBlock& a, const BitBlock& b) {
    BitBlock result;
    for (std::size_t r = 0; r < kBitBlockRows; ++r) result[r] = a[r] & b[r];
    return result;
}

BitBlock without(const BitBlock& a, const BitBlock& b) {
    BitBlock result;
    for (std::size_t r = 0; r < kBitBlockRows; ++r) result[r] = a[r] & ~b[r];
    return result;
}

}  // namespace

PlacementSearch::PlacementSearch(const SearchImage& image, std::span<const ProbePt> probes,
                                 std::size_t width, std::size_t height, std::size_t minScore)
    : image_(image),
      occupied_(image.occupied()),
      width_(width),
      height_(height),
      minScore_(minScore),
      numColumns_(image.width() - width + 1),
      numRows_(image.height() - height + 1),
      counter_(probes.size()) {
    taps_.reserve(probes.size());
    for (const ProbePt& probe : probes) {
        const auto x = static_cast<std::size_t>(probe.position.x());
        const auto y = static_cast<std::size_t>(probe.position.y());
        const BitImage& bits = probe.expected ? image.ones() : image.occupied();
        taps_.push_back({bits.wordAt(x, y), static_cast<unsigned>(x % 64),
                         probe.expected ? 0 : ~std::uint64_t{0}});
        if (!probe.expected) ++numUnexpected_;
    }
}

void PlacementSearch::findAll(PlacementStore& store) {
    for (std::size_t y = 0; y < numRows_; y += kBitBlockRows) {
        for (std::size_t x = 0; x < numColumns_; x += 64) {
            collect(x, y);
            for (std::vector<Placement>& row : found_) store.thinOut(row);
        }
        for (std::vector<Placement>& row : found_) {
            for (const Placement& placement : row) store.offer(placement);
            row.clear();
        }
    }
}

/// Where the probe agrees, for the 64 translations from a multiple of 64 on in kBitBlockRows rows.
/// @param step  from the word of the translation (0, 0) to that of the first of them.
BitBlock PlacementSearch::agreement(const Tap& tap, std::size_t step) const {
    const std::uint64_t* left = tap.word + step;
    const std::uint64_t* right = left + image_.ones().stride();
    BitBlock block;
    for (std::size_t r = 0; r < kBitBlockRows; ++r) {
        // In two steps, as a shift by 64 is none.
        const std::uint64_t fromRight = (right[r] << 1U) << (63U - tap.shift);
        block[r] = ((left[r] >> tap.shift) | fromRight) ^ tap.inverted;
    }
    return block;
}

/// The translations of the block, without those beyond the last column and row.
BitBlock PlacementSearch::translationsFrom(std::size_t x, std::size_t y) const {
    const std::size_t columns = numColumns_ - x;
    const std::size_t rows = numRows_ - y;
    BitBlock block{};
    std::fill_n(block.begin(), std::min(rows, kBitBlockRows),
                columns < 64 ? (std::uint64_t{1} << columns) - 1 : ~std::uint64_t{0});
    return block;
}

/// Counts the probes that agree at the translations of the block.
/// @return false, and no counts: too few for any of them.
bool PlacementSearch::count(std::size_t x, std::size_t y) {
    const std::size_t near = occupied_.around(x, y, width_ + 63, height_ + kBitBlockRows - 1);
    const std::size_t numExpected = taps_.size() - numUnexpected_;
    if (std::min(near, numExpected) + numUnexpected_ < minScore_) return false;
    counter_.reset(near == 0 ? numUnexpected_ : 0);
    if (near == 0) return true;

    const BitBlock candidates = translationsFrom(x, y);
    const std::size_t step = (x / 64) * image_.ones().stride() + y;
    constexpr std::size_t kGroup = AgreementCounter::kGroup;
    std::size_t next = 0;
    for (std::size_t groups = 1; next + kGroup <= taps_.size(); ++groups) {
        AgreementCounter::Group group;
        for (BitBlock& block : group) block = agreement(taps_[next++], step);
        counter_.add(group);
        if (groups % AgreementCounter::kGroupsPerRound == 0 && !canReach(next, candidates)) {
            return false;
        }
    }
    while (next < taps_.size()) counter_.add(agreement(taps_[next++], step));
    counter_.settle();
    return true;
}

/// Whether a candidate may still get enough, after so many probes have been counted.
bool PlacementSearch::canReach(std::size_t counted, const BitBlock& candidates) const {
    const std::size_t left = taps_.size() - counted;
    return left >= minScore_ || anySet(both(counter_.atLeast(minScore_ - left), candidates));
}

/// The candidates for which one of the first probes agrees.
BitBlock PlacementSearch::agreeingEarly(std::size_t x, std::size_t y,
                                        const BitBlock& candidates) const {
    const std::size_t step = (x / 64) * image_.ones().stride() + y;
    const std::size_t first = std::max<std::size_t>(taps_.size() - minScore_, 1);
    BitBlock open = candidates;
    for (std::size_t i = 0; i < first && anySet(open); ++i) {
        open = without(open, agreement(taps_[i], step));
    }
    return without(candidates, open);
}

/// Of the counted candidates those whose score is at least minScore.
BitBlock PlacementSearch::withEnough(std::size_t x, std::size_t y,
                                     const BitBlock& candidates) const {
    const BitBlock more = both(counter_.atLeast(minScore_ + 1), candidates);
    const BitBlock justEnough = without(both(counter_.atLeast(minScore_), candidates), more);
    const BitBlock early = agreeingEarly(x, y, justEnough);
    BitBlock result;
    for (std::size_t r = 0; r < kBitBlockRows; ++r) result[r] = more[r] | early[r];
    return result;
}

void PlacementSearch::collect(std::size_t x, std::size_t y) {
    if (!count(x, y)) return;
    const BitBlock hits = withEnough(x, y, translationsFrom(x, y));
    for (std::size_t r = 0; r < kBitBlockRows; ++r) {
        for (std::uint64_t bits = hits[r]; bits != 0; bits &= bits - 1) {
            const auto column = static_cast<std::size_t>(std::countr_zero(bits));
            found_[r].push_back(
                {counter_.count(r, column),
                 rxPair<long>(static_cast<long>(x + column), static_cast<long>(y + r))});
        }
    }
}

}  // namespace ptmatch::detail
