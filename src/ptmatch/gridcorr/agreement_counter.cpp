#include "ptmatch/gridcorr/agreement_counter.h"

#include <algorithm>
#include <bit>

namespace ptmatch::detail {
namespace {

/// A full adder in each bit: sum + a + b is left in sum (weight 1) and returned (weight 2).
std::uint64_t addInto(std::uint64_t& sum, std::uint64_t a, std::uint64_t b) {
    const std::uint64_t half = sum ^ a;
    const std::uint64_t carry = (sum & a) | (half & b);
    sum = half ^ b;
    return carry;
}

}  // namespace

AgreementCounter::AgreementCounter(std::size_t maxCount)
    : numPlanes_(std::max<std::size_t>(std::bit_width(maxCount), kWaitingPlanes + 1)) {
    reset(0);
}

void AgreementCounter::reset(std::uint64_t value) {
    groups_ = 0;
    for (std::size_t p = 0; p < numPlanes_; ++p) {
        planes_[p].fill(((value >> p) & 1U) != 0 ? ~std::uint64_t{0} : 0);
    }
}

void AgreementCounter::add(const Group& blocks) {
    BitBlock ones = planes_[0];
    BitBlock twos = planes_[1];
    BitBlock fours = planes_[2];
    BitBlock carry;
    for (std::size_t r = 0; r < kBitBlockRows; ++r) {
        const std::uint64_t twosA = addInto(ones[r], blocks[0][r], blocks[1][r]);
        const std::uint64_t twosB = addInto(ones[r], blocks[2][r], blocks[3][r]);
        const std::uint64_t foursA = addInto(twos[r], twosA, twosB);
        const std::uint64_t twosC = addInto(ones[r], blocks[4][r], blocks[5][r]);
        const std::uint64_t twosD = addInto(ones[r], blocks[6][r], blocks[7][r]);
        const std::uint64_t foursB = addInto(twos[r], twosC, twosD);
        carry[r] = addInto(fours[r], foursA, foursB);
    }
    planes_[0] = ones;
    planes_[1] = twos;
    planes_[2] = fours;

    std::size_t plane = kGroupPlanes;
    for (std::size_t bits = groups_++; plane < kWaitingPlanes && (bits & 1U) != 0; bits >>= 1U) {
        for (std::size_t r = 0; r < kBitBlockRows; ++r) {
            carry[r] = addInto(planes_[plane][r], waiting_[plane][r], carry[r]);
        }
        ++plane;
    }
    if (plane < kWaitingPlanes) {
        waiting_[plane] = carry;
    } else {
        carryInto(plane, carry);
        groups_ = 0;
    }
}

void AgreementCounter::add(const BitBlock& block) {
    carryInto(0, block);
}

void AgreementCounter::settle() {
    for (std::size_t plane = kGroupPlanes; plane < kWaitingPlanes; ++plane) {
        if (((groups_ >> (plane - kGroupPlanes)) & 1U) != 0) carryInto(plane, waiting_[plane]);
    }
    groups_ = 0;
}

void AgreementCounter::carryInto(std::size_t plane, BitBlock carry) {
    for (; plane < numPlanes_; ++plane) {
        for (std::size_t r = 0; r < kBitBlockRows; ++r) {
            const std::uint64_t next = planes_[plane][r] & carry[r];
            planes_[plane][r] ^= carry[r];
            carry[r] = next;
        }
    }
}

// From the lowest plane up, the last plane in which count and threshold differ decides.
BitBlock AgreementCounter::atLeast(std::uint64_t threshold) const {
    BitBlock result;
    result.fill((threshold >> numPlanes_) != 0 ? 0 : ~std::uint64_t{0});
    if (result[0] == 0) return result;
    for (std::size_t p = 0; p < numPlanes_; ++p) {
        const bool isSet = ((threshold >> p) & 1U) != 0;
        for (std::size_t r = 0; r < kBitBlockRows; ++r) {
            result[r] = isSet ? planes_[p][r] & result[r] : planes_[p][r] | result[r];
        }
    }
    return result;
}

long AgreementCounter::count(std::size_t row, std::size_t column) const {
    std::uint64_t count = 0;
    for (std::size_t p = 0; p < numPlanes_; ++p) {
        count |= ((planes_[p][row] >> column) & 1U) << p;
    }
    return static_cast<long>(count);
}

}  // namespace ptmatch::detail
