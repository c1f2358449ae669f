#pragma once

#include "hardening/fault_scenario.h"

namespace ptmatch::testing {

/// Lets each allocation of the scenario's call fail: it and all after it, and it alone.
///
/// After each failure what is left is compared with what the scenario promises, the call is made
/// again, with memory, and its outcome compared with that of an undisturbed one; and when all is
/// gone, no block of memory may be.
///
/// With PTMATCH_FAULT_REPORT in the environment a line is printed that tells how many failed.
void expectToWithstandAllocationFailures(const FaultScenario& scenario);

}  // namespace ptmatch::testing
