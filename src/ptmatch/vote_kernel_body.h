#pragma once

#include "ptmatch/vote_kernel.h"

// The way all kernels count, written once in terms of a few operations on a `Lanes::Word`, which
// holds kRows rows of a block. Everything here is local to the file that includes it (an unnamed
// namespace): a shared inline function could be compiled for one instruction set, kept by the
// linker, and be called on a machine without it.
//
// A vertical counter is a number for each cell, spread over bit planes: plane p holds binary digit
// p of all cells. A carry-save adder takes three planes of one weight and leaves a plane of that
// weight and a plane of twice that weight; sixteen points cost fifteen adders (Harley and Seal) and
// one walk of the last carry through the higher planes.
namespace ptmatch::detail {
namespace {

// A kernel is one loop; the pieces only give its steps names.
#define PTMATCH_STEP [[gnu::always_inline]] inline

// The planes that every point changes. They hold nothing else, so that they live in registers: in
// memory, each addition would wait for the one before it to be stored and loaded again.
template <class Lanes>
struct LowPlanes {
    using Word = typename Lanes::Word;

    Word ones = Lanes::zero();
    Word twos = Lanes::zero();
    Word fours = Lanes::zero();
    Word eights = Lanes::zero();
};

// The planes of 16 and up, which every sixteenth point changes. Doubling all numbers renames the
// planes, so these move down the storage by one for each digit of the weights.
template <class Lanes>
struct HighPlanes {
    typename Lanes::Word storage[kMaxPlanes + kMaxDigits];
    typename Lanes::Word* first;
    unsigned count;
};

template <class Lanes>
PTMATCH_STEP void clear(HighPlanes<Lanes>& high, const VoteBlock& block) {
    high.count = block.numPlanes > 4 ? block.numPlanes - 4 : 0;
    high.first = high.storage + (block.numGroups - 1);
    for (unsigned i = 0; i + 1 < high.count + block.numGroups; ++i) high.storage[i] = Lanes::zero();
}

template <class Lanes>
PTMATCH_STEP void doubleAll(LowPlanes<Lanes>& low, HighPlanes<Lanes>& high) {
    --high.first;
    high.first[0] = low.eights;
    low.eights = low.fours;
    low.fours = low.twos;
    low.twos = low.ones;
    low.ones = Lanes::zero();
}

// A carry of weight 16.
template <class Lanes>
PTMATCH_STEP void carryIntoHigh(HighPlanes<Lanes>& high, typename Lanes::Word carry) {
    for (unsigned i = 0; i < high.count; ++i) {
        const typename Lanes::Word plane = high.first[i];
        high.first[i] = Lanes::bitXor(plane, carry);
        carry = Lanes::bitAnd(plane, carry);
    }
}

// Where a block begins, as a number: before the word of a view is added, which may be negative, it
// can lie outside the array, where there are no pointers. To add up indices first would cost 2 to
// 10 % of the kernel.
struct BlockPlace {
    std::uintptr_t address;

    PTMATCH_STEP const std::uint64_t* operator[](std::ptrdiff_t word) const {
        const std::uintptr_t bytes = static_cast<std::uintptr_t>(word) * sizeof(std::uint64_t);
        // NOLINTNEXTLINE(performance-no-int-to-ptr): nothing is stored while it is read through
        return reinterpret_cast<const std::uint64_t*>(address + bytes);
    }
};

PTMATCH_STEP BlockPlace placeOf(const std::uint64_t* words, std::ptrdiff_t offset) {
    return {reinterpret_cast<std::uintptr_t>(words) +
            static_cast<std::uintptr_t>(offset) * sizeof(std::uint64_t)};
}

// The marks that some rows of a block show to its points, when views have to be shifted ...
template <class Lanes>
struct ShiftedMarks {
    using Word = typename Lanes::Word;

    BlockPlace left;  // of the pair of words that a view joins
    BlockPlace right;

    PTMATCH_STEP Word under(const MarkView& view) const {
        return Lanes::join(Lanes::load(left[view.word]), Lanes::load(right[view.word]), view.shift);
    }
};

// ... and when they need not.
template <class Lanes>
struct ReadyMarks {
    using Word = typename Lanes::Word;

    BlockPlace words;

    PTMATCH_STEP Word under(const MarkView& view) const { return Lanes::load(words[view.word]); }
};

// digit + a + b: leaves the digit, returns the carry.
template <class Lanes, class Word = typename Lanes::Word>
PTMATCH_STEP Word addTwo(Word& digit, Word a, Word b) {
    const Word carry = Lanes::majority(a, b, digit);
    digit = Lanes::parity(a, b, digit);
    return carry;
}

// Four planes of weight 1; returns the carry of weight 4.
template <class Lanes, class Word = typename Lanes::Word>
PTMATCH_STEP Word addFour(LowPlanes<Lanes>& low, Word a, Word b, Word c, Word d) {
    const Word twosA = addTwo<Lanes>(low.ones, a, b);
    const Word twosB = addTwo<Lanes>(low.ones, c, d);
    return addTwo<Lanes>(low.twos, twosA, twosB);
}

template <class Lanes, class Marks>
PTMATCH_STEP typename Lanes::Word addFour(LowPlanes<Lanes>& low, const Marks& marks,
                                          const MarkView* views) {
    return addFour(low, marks.under(views[0]), marks.under(views[1]), marks.under(views[2]),
                   marks.under(views[3]));
}

// Sixteen views; returns the carry of weight 16.
template <class Lanes, class Marks>
PTMATCH_STEP typename Lanes::Word addSixteen(LowPlanes<Lanes>& low, const Marks& marks,
                                             const MarkView* views) {
    using Word = typename Lanes::Word;
    const Word foursA = addFour(low, marks, views);
    const Word foursB = addFour(low, marks, views + 4);
    const Word eightsA = addTwo<Lanes>(low.fours, foursA, foursB);
    const Word foursC = addFour(low, marks, views + 8);
    const Word foursD = addFour(low, marks, views + 12);
    const Word eightsB = addTwo<Lanes>(low.fours, foursC, foursD);
    return addTwo<Lanes>(low.eights, eightsA, eightsB);
}

// A carry of weight 4 that comes alone; returns the carry of weight 16.
template <class Lanes>
PTMATCH_STEP typename Lanes::Word carryIntoFours(LowPlanes<Lanes>& low,
                                                 typename Lanes::Word carry) {
    const typename Lanes::Word toEights = Lanes::bitAnd(low.fours, carry);
    low.fours = Lanes::bitXor(low.fours, carry);
    const typename Lanes::Word toSixteens = Lanes::bitAnd(low.eights, toEights);
    low.eights = Lanes::bitXor(low.eights, toEights);
    return toSixteens;
}

// One to three views; returns the carry of weight 4.
template <class Lanes, class Marks>
PTMATCH_STEP typename Lanes::Word addLast(LowPlanes<Lanes>& low, const Marks& marks,
                                          const MarkView* views, std::ptrdiff_t count) {
    const typename Lanes::Word none = Lanes::zero();
    return addFour(low, marks.under(views[0]), count > 1 ? marks.under(views[1]) : none,
                   count > 2 ? marks.under(views[2]) : none, none);
}

template <class Lanes, class Word = typename Lanes::Word>
PTMATCH_STEP Word include(Word plane, long digitOfThreshold, Word reached) {
    return (digitOfThreshold & 1) != 0 ? Lanes::bitAnd(plane, reached)
                                       : Lanes::bitOr(plane, reached);
}

// Cells whose number is at least the threshold. From the lowest digit up: a cell is at least as
// large in the digits so far when this digit is larger, or equal and the lower ones were.
template <class Lanes>
PTMATCH_STEP typename Lanes::Word atLeast(const LowPlanes<Lanes>& low,
                                          const HighPlanes<Lanes>& high, long threshold) {
    using Word = typename Lanes::Word;
    if (threshold <= 0) return Lanes::ones();
    if ((threshold >> (high.count + 4)) != 0) return Lanes::zero();
    Word reached = include<Lanes>(low.ones, threshold, Lanes::ones());
    reached = include<Lanes>(low.twos, threshold >> 1, reached);
    reached = include<Lanes>(low.fours, threshold >> 2, reached);
    reached = include<Lanes>(low.eights, threshold >> 3, reached);
    for (unsigned i = 0; i < high.count; ++i) {
        reached = include<Lanes>(high.first[i], threshold >> (4 + i), reached);
    }
    return reached;
}

// Whether some cell can still reach the threshold when `rest` is all that can come. The planes hold
// votes in units of 2^digit.
template <class Lanes>
PTMATCH_STEP bool canReach(const LowPlanes<Lanes>& low, const HighPlanes<Lanes>& high,
                           long threshold, long rest, unsigned digit) {
    if (rest >= threshold) return true;
    const long needed = (threshold - rest + (1L << digit) - 1) >> digit;
    return !Lanes::isZero(atLeast(low, high, needed));
}

// False when no cell can reach the threshold any more.
template <class Lanes, class Marks>
PTMATCH_STEP bool addGroup(LowPlanes<Lanes>& low, HighPlanes<Lanes>& high, long threshold,
                           const ViewGroup& group, unsigned digit, const Marks& marks) {
    const MarkView* view = group.begin;
    for (; group.end - view >= 16; view += 16) {
        const long rest = ((group.end - view) << digit) + group.lighter;
        if (!canReach(low, high, threshold, rest, digit)) return false;
        carryIntoHigh(high, addSixteen(low, marks, view));
    }
    for (; group.end - view >= 4; view += 4) {
        carryIntoHigh(high, carryIntoFours(low, addFour(low, marks, view)));
    }
    if (view != group.end) {
        carryIntoHigh(high, carryIntoFours(low, addLast(low, marks, view, group.end - view)));
    }
    return true;
}

template <class Lanes>
PTMATCH_STEP void storePlanes(const LowPlanes<Lanes>& low, const HighPlanes<Lanes>& high,
                              std::uint64_t* planes) {
    constexpr std::ptrdiff_t kPlane = kBlockRows;
    Lanes::store(planes, low.ones);
    Lanes::store(planes + kPlane, low.twos);
    Lanes::store(planes + 2 * kPlane, low.fours);
    Lanes::store(planes + 3 * kPlane, low.eights);
    for (unsigned i = 0; i < high.count; ++i) {
        Lanes::store(planes + (4 + std::ptrdiff_t{i}) * kPlane, high.first[i]);
    }
}

// As CountBlock, for kRows rows of the block; survivors are left alone when there are none.
template <class Lanes, class Marks>
PTMATCH_STEP bool countRows(const VoteBlock& block, const Marks& marks, std::uint64_t* planes,
                            std::uint64_t* survivors) {
    LowPlanes<Lanes> low;
    HighPlanes<Lanes> high;
    clear(high, block);
    for (unsigned i = 0; i < block.numGroups; ++i) {
        if (i > 0) doubleAll(low, high);
        const unsigned digit = block.numGroups - 1 - i;
        if (!addGroup(low, high, block.threshold, block.groups[i], digit, marks)) return false;
    }
    const typename Lanes::Word reached = atLeast(low, high, block.threshold);
    if (Lanes::isZero(reached)) return false;
    Lanes::store(survivors, reached);
    storePlanes(low, high, planes);
    return true;
}

template <class Lanes, bool isShifted>
bool countAllRows(const VoteBlock& block, std::uint64_t* planes, std::uint64_t* survivors) {
    bool any = false;
    for (int row = 0; row < kBlockRows; row += Lanes::kRows) {
        const std::ptrdiff_t offset = block.offset + row;
        bool survives = false;
        if constexpr (isShifted) {
            const ShiftedMarks<Lanes> marks{placeOf(block.words, offset),
                                            placeOf(block.words, offset + block.stride)};
            survives = countRows<Lanes>(block, marks, planes + row, survivors + row);
        } else {
            const ReadyMarks<Lanes> marks{placeOf(block.words, offset)};
            survives = countRows<Lanes>(block, marks, planes + row, survivors + row);
        }
        any = any || survives;
        for (int r = row; r < row + Lanes::kRows && !survives; ++r) survivors[r] = 0;
    }
    return any;
}

template <class Lanes>
bool countBlock(const VoteBlock& block, std::uint64_t* planes, std::uint64_t* survivors) {
    return block.stride == 0 ? countAllRows<Lanes, false>(block, planes, survivors)
                             : countAllRows<Lanes, true>(block, planes, survivors);
}

#undef PTMATCH_STEP

}  // namespace
}  // namespace ptmatch::detail
