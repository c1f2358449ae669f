#include "ptmatch/gridcorr/agreement_counter.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>

namespace {

using ptmatch::detail::AgreementCounter;
using ptmatch::detail::BitBlock;
using ptmatch::detail::kBitBlockRows;

using Counts = std::array<std::array<long, 64>, kBitBlockRows>;

/// Bits of which each is set with a chance of its own, from never to always.
BitBlock randomBlock(std::mt19937_64& random) {
    BitBlock block;
    for (std::size_t r = 0; r < kBitBlockRows; ++r) {
        const std::uint64_t a = random();
        const std::uint64_t b = random();
        block[r] = (r % 3 == 0 ? a & b : r % 3 == 1 ? a | b : a);
        block[r] |= 1U;                          // column 0 always
        block[r] &= ~(std::uint64_t{1} << 63U);  // column 63 never
    }
    return block;
}

void addTo(Counts& counts, const BitBlock& block) {
    for (std::size_t r = 0; r < kBitBlockRows; ++r) {
        for (std::size_t c = 0; c < 64; ++c) counts[r][c] += (block[r] >> c) & 1U;
    }
}

void expectCounts(const AgreementCounter& counter, const Counts& counts) {
    for (std::size_t r = 0; r < kBitBlockRows; ++r) {
        for (std::size_t c = 0; c < 64; ++c) ASSERT_EQ(counter.count(r, c), counts[r][c]);
    }
}

void expectThreshold(const AgreementCounter& counter, const Counts& counts, long threshold) {
    const BitBlock atLeast = counter.atLeast(static_cast<std::uint64_t>(threshold));
    for (std::size_t r = 0; r < kBitBlockRows; ++r) {
        for (std::size_t c = 0; c < 64; ++c) {
            ASSERT_EQ((atLeast[r] >> c) & 1U, counts[r][c] >= threshold ? 1U : 0U)
                << counts[r][c] << " against " << threshold;
        }
    }
}

TEST(AgreementCounter, CountsAnyNumberOfGroupsAndSingleBlocks) {
    std::mt19937_64 random(1);
    for (const std::size_t groups : {0U, 1U, 2U, 3U, 7U, 31U, 32U, 33U, 64U, 65U, 100U}) {
        for (const std::size_t singles : {0U, 1U, 7U}) {
            AgreementCounter counter(groups * AgreementCounter::kGroup + singles);
            Counts counts{};
            for (std::size_t g = 0; g < groups; ++g) {
                AgreementCounter::Group group;
                for (BitBlock& block : group) {
                    block = randomBlock(random);
                    addTo(counts, block);
                }
                counter.add(group);
            }
            for (std::size_t s = 0; s < singles; ++s) {
                const BitBlock block = randomBlock(random);
                addTo(counts, block);
                counter.add(block);
            }
            counter.settle();
            ASSERT_NO_FATAL_FAILURE(expectCounts(counter, counts));
        }
    }
}

TEST(AgreementCounter, IsSettledByItselfAfterEveryRound) {
    std::mt19937_64 random(2);
    AgreementCounter counter(100000);
    Counts counts{};
    for (std::size_t g = 1; g <= 6 * AgreementCounter::kGroupsPerRound; ++g) {
        AgreementCounter::Group group;
        for (BitBlock& block : group) {
            block = randomBlock(random);
            addTo(counts, block);
        }
        counter.add(group);
        if (g % AgreementCounter::kGroupsPerRound == 0) {
            ASSERT_NO_FATAL_FAILURE(expectCounts(counter, counts));
        }
    }
}

TEST(AgreementCounter, ComparesEveryCountWithAThreshold) {
    std::mt19937_64 random(3);
    constexpr std::size_t kGroups = 37;
    AgreementCounter counter(kGroups * AgreementCounter::kGroup);
    Counts counts{};
    for (std::size_t g = 0; g < kGroups; ++g) {
        AgreementCounter::Group group;
        for (BitBlock& block : group) {
            block = randomBlock(random);
            addTo(counts, block);
        }
        counter.add(group);
    }
    counter.settle();
    for (long threshold = 0; threshold <= 300; ++threshold) {
        ASSERT_NO_FATAL_FAILURE(expectThreshold(counter, counts, threshold));
    }
    ASSERT_NO_FATAL_FAILURE(expectThreshold(counter, counts, 100000));
    ASSERT_NO_FATAL_FAILURE(expectThreshold(counter, counts, 2147483648));
}

TEST(AgreementCounter, BeginsAtTheValueOfTheReset) {
    AgreementCounter counter(1000);
    for (const std::uint64_t value : {0U, 1U, 255U, 768U, 1000U}) {
        BitBlock noise;
        noise.fill(0x5555555555555555U);
        counter.add(noise);
        counter.reset(value);
        for (std::size_t c = 0; c < 64; ++c) {
            ASSERT_EQ(counter.count(3, c), static_cast<long>(value));
        }
    }
}

TEST(AgreementCounter, CountsUpToALargeMaximum) {
    constexpr std::size_t kGroups = 9000;
    AgreementCounter counter(kGroups * AgreementCounter::kGroup);
    AgreementCounter::Group group;
    for (BitBlock& block : group) block.fill(~std::uint64_t{0});
    for (std::size_t g = 0; g < kGroups; ++g) counter.add(group);
    counter.settle();
    EXPECT_EQ(counter.count(0, 0), 72000);
    EXPECT_EQ(counter.count(kBitBlockRows - 1, 63), 72000);
}

}  // namespace
