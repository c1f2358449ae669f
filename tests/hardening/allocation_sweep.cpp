#include "hardening/allocation_sweep.h"

#include <cstdio>
#include <exception>
#include <new>
#include <optional>

#include "foundation/archive.h"
#include "support/allocation_meter.h"

namespace ptmatch::testing {

namespace {

enum class Ending { eSucceeded, eBadAlloc, eArchiveErrors };

struct Attempt {
    Ending ending = Ending::eSucceeded;
    std::size_t numFailures = 0;
};

Attempt attempt(const FaultSubject& subject, std::size_t successes, std::size_t failures) {
    std::optional<AllocationFailure> failure(std::in_place, successes, failures);
    Ending ending = Ending::eSucceeded;
    try {
        subject.call();
    } catch (const std::bad_alloc&) {
        ending = Ending::eBadAlloc;
    } catch (const rxArchive::Errors&) {
        ending = Ending::eArchiveErrors;
    }
    const std::size_t numFailures = failure->numFailures();
    failure.reset();
    return {ending, numFailures};
}

class Sweep {
  public:
    explicit Sweep(const FaultScenario& scenario) : scenario_(scenario) {
        // The first call also makes what is made once for the process.
        const FaultSubject undisturbed = scenario_.make();
        undisturbed.call();
        outcome_ = undisturbed.outcome();
        const FaultSubject counted = scenario_.make();
        const AllocationFailure none(AllocationFailure::kAllLater);
        counted.call();
        count_ = none.numAllocations();
    }

    std::size_t count() const { return count_; }
    std::size_t numInjected() const { return numInjected_; }
    std::size_t numSurvived() const { return numSurvived_; }

    void failFrom(std::size_t n, std::size_t failures) {
        const AllocationBalance balance;
        {
            const FaultSubject subject = scenario_.make();
            const Attempt first = attempt(subject, n, failures);
            EXPECT_GE(first.numFailures, 1U);
            numInjected_ += first.numFailures;
            if (first.ending == Ending::eSucceeded) {
                ++numSurvived_;  // did without
            } else {
                EXPECT_TRUE(first.ending == Ending::eBadAlloc || scenario_.mayThrowArchiveErrors);
                EXPECT_EQ(subject.left(), subject.leftByFailure);
                subject.call();
            }
            EXPECT_EQ(subject.outcome(), outcome_);
        }
        EXPECT_EQ(balance.blocks(), 0);
        EXPECT_EQ(balance.bytes(), 0);
    }

  private:
    const FaultScenario& scenario_;
    ByteVector outcome_;
    std::size_t count_ = 0;
    std::size_t numInjected_ = 0;
    std::size_t numSurvived_ = 0;
};

}  // namespace

void expectToWithstandAllocationFailures(const FaultScenario& scenario) {
    Sweep sweep(scenario);
    EXPECT_EQ(sweep.count() > 0, scenario.takesMemory) << sweep.count() << " allocations";
    for (std::size_t n = 0; n < sweep.count(); ++n) {
        for (const std::size_t failures : {AllocationFailure::kAllLater, std::size_t{1}}) {
            SCOPED_TRACE("allocation " + std::to_string(n) + " of " +
                         std::to_string(sweep.count()) +
                         (failures == 1 ? " failed" : " and all after it failed"));
            sweep.failFrom(n, failures);
            if (::testing::Test::HasFailure()) return;
        }
    }
    if (!isReportAsked()) return;
    std::printf("%-44s %6zu allocations %7zu tries %7zu failures %5zu done without\n",
                scenario.name.c_str(), sweep.count(), 2 * sweep.count(), sweep.numInjected(),
                sweep.numSurvived());
}

}  // namespace ptmatch::testing
