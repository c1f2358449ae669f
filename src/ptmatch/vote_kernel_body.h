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

template <class Lanes>
struct VerticalCounter {
    using Word = typename Lanes::Word;

    Word ones = Lanes::zero();
    Word twos = Lanes::zero();
    Word fours = Lanes::zero();
    Word eights = Lanes::zero();
    // Planes of 16 and up. Doubling all numbers renames the planes, so these move down the storage
    // by one for each digit of the weights.
    Word storage[kMaxPlanes + kMaxDigits];
    Word* high;
    unsigned numHigh;
};

template <class Lanes>
PTMATCH_STEP void clear(VerticalCounter<Lanes>& counter, const VoteBlock& block) {
    counter.numHigh = block.numPlanes > 4 ? block.numPlanes - 4 : 0;
    counter.high = counter.storage + (block.numGroups - 1);
    for (unsigned i = 0; i + 1 < counter.numHigh + block.numGroups; ++i) {
        counter.storage[i] = Lanes::zero();
    }
}

template <class Lanes>
PTMATCH_STEP void doubleAll(VerticalCounter<Lanes>& counter) {
    --counter.high;
    counter.high[0] = counter.eights;
    counter.eights = counter.fours;
    counter.fours = counter.twos;
    counter.twos = counter.ones;
    counter.ones = Lanes::zero();
}

// The marks that some rows of a block show to its points.
template <class Lanes>
struct Marks {
    using Word = typename Lanes::Word;

    const std::uint64_t* words;
    std::ptrdiff_t offset;
    std::ptrdiff_t stride;

    PTMATCH_STEP Word under(const MarkView& view) const {
        const std::uint64_t* low = words + (view.word + offset);
        return Lanes::join(Lanes::load(low), Lanes::load(low + stride), view.shift);
    }
};

// a + b + c: returns the digit, sets the carry.
template <class Lanes, class Word = typename Lanes::Word>
PTMATCH_STEP Word addThree(Word a, Word b, Word c, Word& carry) {
    carry = Lanes::majority(a, b, c);
    return Lanes::parity(a, b, c);
}

// Adds four planes of weight 1; returns the carry of weight 4.
template <class Lanes, class Word = typename Lanes::Word>
PTMATCH_STEP Word addFour(VerticalCounter<Lanes>& counter, Word a, Word b, Word c, Word d) {
    Word twosA, twosB, carry;
    counter.ones = addThree<Lanes>(counter.ones, a, b, twosA);
    counter.ones = addThree<Lanes>(counter.ones, c, d, twosB);
    counter.twos = addThree<Lanes>(counter.twos, twosA, twosB, carry);
    return carry;
}

template <class Lanes>
PTMATCH_STEP typename Lanes::Word addFour(VerticalCounter<Lanes>& counter,
                                          const Marks<Lanes>& marks, const MarkView* views) {
    return addFour(counter, marks.under(views[0]), marks.under(views[1]), marks.under(views[2]),
                   marks.under(views[3]));
}

// A carry of weight 16 into the planes of that weight and up.
template <class Lanes>
PTMATCH_STEP void carryIntoHigh(VerticalCounter<Lanes>& counter, typename Lanes::Word carry) {
    for (unsigned i = 0; i < counter.numHigh; ++i) {
        const typename Lanes::Word plane = counter.high[i];
        counter.high[i] = Lanes::bitXor(plane, carry);
        carry = Lanes::bitAnd(plane, carry);
    }
}

template <class Lanes>
PTMATCH_STEP void addSixteen(VerticalCounter<Lanes>& counter, const Marks<Lanes>& marks,
                             const MarkView* views) {
    typename Lanes::Word eightsA, eightsB, sixteens;
    typename Lanes::Word foursA = addFour(counter, marks, views);
    typename Lanes::Word foursB = addFour(counter, marks, views + 4);
    counter.fours = addThree<Lanes>(counter.fours, foursA, foursB, eightsA);
    foursA = addFour(counter, marks, views + 8);
    foursB = addFour(counter, marks, views + 12);
    counter.fours = addThree<Lanes>(counter.fours, foursA, foursB, eightsB);
    counter.eights = addThree<Lanes>(counter.eights, eightsA, eightsB, sixteens);
    carryIntoHigh(counter, sixteens);
}

// A carry of weight 4 that comes alone.
template <class Lanes>
PTMATCH_STEP void carryIntoFours(VerticalCounter<Lanes>& counter, typename Lanes::Word carry) {
    const typename Lanes::Word toEights = Lanes::bitAnd(counter.fours, carry);
    counter.fours = Lanes::bitXor(counter.fours, carry);
    const typename Lanes::Word toSixteens = Lanes::bitAnd(counter.eights, toEights);
    counter.eights = Lanes::bitXor(counter.eights, toEights);
    carryIntoHigh(counter, toSixteens);
}

// One to three views.
template <class Lanes>
PTMATCH_STEP typename Lanes::Word addLast(VerticalCounter<Lanes>& counter,
                                          const Marks<Lanes>& marks, const MarkView* views,
                                          std::ptrdiff_t count) {
    const typename Lanes::Word none = Lanes::zero();
    return addFour(counter, marks.under(views[0]), count > 1 ? marks.under(views[1]) : none,
                   count > 2 ? marks.under(views[2]) : none, none);
}

// Cells whose number is at least the threshold. From the lowest digit up: a cell is at least as
// large in the digits so far when this digit is larger, or equal and the lower ones were.
template <class Lanes>
PTMATCH_STEP typename Lanes::Word atLeast(const VerticalCounter<Lanes>& counter, long threshold) {
    if (threshold <= 0) return Lanes::ones();
    if ((threshold >> (counter.numHigh + 4)) != 0) return Lanes::zero();
    typename Lanes::Word reached = Lanes::ones();
    const auto include = [&](typename Lanes::Word plane) {
        reached =
            (threshold & 1) != 0 ? Lanes::bitAnd(plane, reached) : Lanes::bitOr(plane, reached);
        threshold >>= 1;
    };
    include(counter.ones);
    include(counter.twos);
    include(counter.fours);
    include(counter.eights);
    for (unsigned i = 0; i < counter.numHigh; ++i) include(counter.high[i]);
    return reached;
}

// Whether some cell can still reach the threshold when `rest` is all that can come. The counter
// holds votes in units of 2^digit.
template <class Lanes>
PTMATCH_STEP bool canReach(const VerticalCounter<Lanes>& counter, long threshold, long rest,
                           unsigned digit) {
    if (rest >= threshold) return true;
    const long needed = (threshold - rest + (1L << digit) - 1) >> digit;
    return !Lanes::isZero(atLeast(counter, needed));
}

// False when no cell can reach the threshold any more.
template <class Lanes>
PTMATCH_STEP bool addGroup(VerticalCounter<Lanes>& counter, const VoteBlock& block,
                           const ViewGroup& group, unsigned digit, const Marks<Lanes>& marks) {
    const MarkView* view = group.begin;
    for (; group.end - view >= 16; view += 16) {
        const long rest = ((group.end - view) << digit) + group.lighter;
        if (!canReach(counter, block.threshold, rest, digit)) return false;
        addSixteen(counter, marks, view);
    }
    for (; group.end - view >= 4; view += 4) {
        carryIntoFours(counter, addFour(counter, marks, view));
    }
    if (view != group.end) {
        carryIntoFours(counter, addLast(counter, marks, view, group.end - view));
    }
    return true;
}

template <class Lanes>
PTMATCH_STEP void storePlanes(const VerticalCounter<Lanes>& counter, std::uint64_t* planes) {
    Lanes::store(planes, counter.ones);
    Lanes::store(planes + kBlockRows, counter.twos);
    Lanes::store(planes + 2 * kBlockRows, counter.fours);
    Lanes::store(planes + 3 * kBlockRows, counter.eights);
    for (unsigned i = 0; i < counter.numHigh; ++i) {
        Lanes::store(planes + (4 + i) * kBlockRows, counter.high[i]);
    }
}

// As CountBlock, for kRows rows of the block; survivors are left alone when there are none.
template <class Lanes>
PTMATCH_STEP bool countRows(const VoteBlock& block, int row, std::uint64_t* planes,
                            std::uint64_t* survivors) {
    const Marks<Lanes> marks{block.words, block.offset + row, block.stride};
    VerticalCounter<Lanes> counter;
    clear(counter, block);
    for (unsigned i = 0; i < block.numGroups; ++i) {
        if (i > 0) doubleAll(counter);
        if (!addGroup(counter, block, block.groups[i], block.numGroups - 1 - i, marks))
            return false;
    }
    const typename Lanes::Word reached = atLeast(counter, block.threshold);
    if (Lanes::isZero(reached)) return false;
    Lanes::store(survivors + row, reached);
    storePlanes(counter, planes + row);
    return true;
}

template <class Lanes>
bool countBlock(const VoteBlock& block, std::uint64_t* planes, std::uint64_t* survivors) {
    bool any = false;
    for (int row = 0; row < kBlockRows; row += Lanes::kRows) {
        if (countRows<Lanes>(block, row, planes, survivors)) {
            any = true;
        } else {
            for (int r = row; r < row + Lanes::kRows; ++r) survivors[r] = 0;
        }
    }
    return any;
}

#undef PTMATCH_STEP

}  // namespace
}  // namespace ptmatch::detail
