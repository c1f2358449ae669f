#include "ptmatch/assignment_odometer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ptmatch::detail::AssignmentOdometer;
using Assignments = std::vector<std::vector<long>>;

Assignments all(std::size_t numSlots, std::size_t numPartners) {
    Assignments seen;
    AssignmentOdometer odometer(numSlots, numPartners);
    do {
        seen.emplace_back(odometer.partners().begin(), odometer.partners().end());
    } while (odometer.advance());
    return seen;
}

bool isOneToOne(const std::vector<long>& partners) {
    for (std::size_t i = 0; i < partners.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            if (partners[i] >= 0 && partners[i] == partners[k]) return false;
        }
    }
    return true;
}

// Every value of every slot, the first turning fastest; clashes thrown away afterwards.
Assignments plain(std::size_t numSlots, long numPartners) {
    Assignments seen;
    std::vector<long> slots(numSlots, -1);
    while (true) {
        if (isOneToOne(slots)) seen.push_back(slots);
        std::size_t i = 0;
        while (i < numSlots && ++slots[i] == numPartners) slots[i++] = -1;
        if (i == numSlots) return seen;
    }
}

TEST(AssignmentOdometer, StartsUnassignedAndTurnsTheFirstSlotFastest) {
    EXPECT_EQ(all(2, 2),
              (Assignments{{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}}));
}

TEST(AssignmentOdometer, EqualsThePlainOdometerWithoutItsClashes) {
    for (std::size_t slots = 1; slots <= 4; ++slots) {
        for (std::size_t partners = slots; partners <= 6; ++partners) {
            EXPECT_EQ(all(slots, partners), plain(slots, static_cast<long>(partners)))
                << slots << " slots, " << partners << " partners";
        }
    }
}

TEST(AssignmentOdometer, NoSlotsHaveOneAssignment) {
    EXPECT_EQ(all(0, 3), (Assignments{{}}));
}

}  // namespace
