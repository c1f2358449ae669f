#include "support/allocation_meter.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

#include "foundation/image.h"

namespace ptmatch::testing {

namespace {

// Out of the compiler's sight: it may leave out pairs of new and delete.
void* volatile heldBlock = nullptr;

void hold(void* block) {
    heldBlock = block;
}

TEST(AllocationBalance, TellsWhatWasTakenAndNotGivenBack) {
    const AllocationBalance balance;
    hold(::operator new(100));
    void* const plain = heldBlock;
    EXPECT_EQ(balance.blocks(), 1);
    EXPECT_GE(balance.bytes(), 100);
    hold(::operator new (5000, std::align_val_t{64}));
    void* const aligned = heldBlock;
    EXPECT_EQ(balance.blocks(), 2);
    ::operator delete (aligned, std::align_val_t{64});
    EXPECT_EQ(balance.blocks(), 1);
    EXPECT_LT(balance.bytes(), 5000);
    ::operator delete(plain);
    EXPECT_EQ(balance.blocks(), 0);
    EXPECT_EQ(balance.bytes(), 0);
}

TEST(AllocationBalance, GoesBelowZeroWhereOlderBlocksGo) {
    hold(::operator new(100));
    const AllocationBalance balance;
    ::operator delete(heldBlock);
    EXPECT_EQ(balance.blocks(), -1);
    EXPECT_LE(balance.bytes(), -100);
}

TEST(AllocationFailure, FailsAlignedAllocationsToo) {
    const AllocationFailure failure(0);
    EXPECT_THROW(hold(::operator new (8, std::align_val_t{64})), std::bad_alloc);
    EXPECT_EQ(::operator new (8, std::align_val_t{64}, std::nothrow), nullptr);
    EXPECT_EQ(::operator new(8, std::nothrow), nullptr);
    EXPECT_EQ(failure.numAllocations(), 3U);
    EXPECT_EQ(failure.numFailures(), 3U);
}

TEST(AllocationFailure, FailsPixelStores) {
    std::size_t numAllocations = 0;
    {
        const AllocationFailure none(AllocationFailure::kAllLater);
        const rxPelBuffer<unsigned char> image(5, 5, 32);
        numAllocations = none.numAllocations();
    }
    ASSERT_GE(numAllocations, 1U);
    for (std::size_t n = 0; n < numAllocations; ++n) {
        const AllocationFailure failure(n);
        EXPECT_THROW((void)rxPelBuffer<unsigned char>(5, 5, 32), std::bad_alloc);
    }
}

TEST(AllocationFailure, OfOneLetsThoseAfterItSucceed) {
    const AllocationFailure failure(1, 1);
    const auto before = std::make_unique<int>(1);
    EXPECT_THROW(hold(::operator new(8)), std::bad_alloc);
    const auto after = std::make_unique<int>(2);
    EXPECT_EQ(*before + *after, 3);
    EXPECT_EQ(failure.numAllocations(), 3U);
    EXPECT_EQ(failure.numFailures(), 1U);
}

}  // namespace

}  // namespace ptmatch::testing
