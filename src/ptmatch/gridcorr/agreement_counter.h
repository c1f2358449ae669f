#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ptmatch/gridcorr/bit_image.h"

namespace ptmatch::detail {

/// Counts, for each pixel of a BitBlock, the blocks in which it is set: 512 counters in one.
///
/// The counts stand bit by bit: plane p holds bit p of every count. Blocks are added as rows of
/// full adders add numbers, eight at a time into the lowest three planes; what those carry over
/// waits in its plane for the next carry, so that a plane of weight w is touched for every w-th
/// block only.
class AgreementCounter {
  public:
    /// Blocks that `add` takes at a time.
    static constexpr std::size_t kGroup = 8;
    using Group = std::array<BitBlock, kGroup>;

    /// After this many groups since `reset` or `settle` no carry waits, and `settle` costs nothing.
    static constexpr std::size_t kGroupsPerRound = 32;

    /// @param maxCount  more blocks than that are never added, at most 2^31 - 1.
    explicit AgreementCounter(std::size_t maxCount);

    /// Sets every count to the value.
    void reset(std::uint64_t value);

    void add(const Group& blocks);
    void add(const BitBlock& block);

    /// Lets no carry wait. The counts can be read then, until the next `add`.
    void settle();

    /// The pixels whose count is at least the threshold.
    BitBlock atLeast(std::uint64_t threshold) const;

    long count(std::size_t row, std::size_t column) const;

  private:
    static constexpr std::size_t kGroupPlanes = 3;                   // log2 of kGroup
    static constexpr std::size_t kWaitingPlanes = kGroupPlanes + 5;  // and of kGroupsPerRound

    void carryInto(std::size_t plane, BitBlock carry);

    std::size_t numPlanes_;
    std::size_t groups_ = 0;  // since no carry waited; its bits tell in which planes one does
    std::array<BitBlock, 32> planes_;
    std::array<BitBlock, kWaitingPlanes> waiting_;
};

}  // namespace ptmatch::detail
