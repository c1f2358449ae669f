#include "ptmatch/run_cost.h"

#include <algorithm>
#include <cstddef>

#include "ptmatch/point_matcher_model.h"
#include "ptmatch/search_plan.h"

namespace {

/// One-to-one assignments of at least two pairs between sets of these sizes: the sum over k of
/// C(a, k) b! / (b - k)!, the ways to choose k of the smaller set and a partner for each.
double numAssignments(std::size_t numModel, std::size_t numData) {
    const std::size_t smaller = std::min(numModel, numData);
    const std::size_t larger = std::max(numModel, numData);
    double ofK = 1.0;  // of k = 0
    double sum = 0.0;
    for (std::size_t k = 1; k <= smaller; ++k) {
        ofK *= static_cast<double>(smaller - k + 1) / static_cast<double>(k) *
               static_cast<double>(larger - k + 1);
        if (k >= 2) sum += ofK;
    }
    return sum;
}

}  // namespace

rxRunCost rfRunCost(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                    const rxPointMatcherRunParams& params) {
    const auto plan = ptmatch::detail::planSearch(matcher, data, params);
    rxRunCost cost;
    cost.mode = matcher.trainMode();
    if (cost.mode == rxPointMatcherDefs::eExhaustiveMode) {
        cost.work = numAssignments(matcher.modelPoints().size(), data.size());
    }
    if (!plan) return cost;
    cost.isInterruptible = true;
    cost.gridSize = plan->sizes.gridSize;
    cost.captureRange = plan->sizes.captureRange;
    if (!plan->isSearched) return cost;
    const ptmatch::detail::LatticeSize lattice = ptmatch::detail::latticeSize(*plan);
    cost.numScales = lattice.numScales;
    cost.numLatticePoints = lattice.numPoints;
    cost.numTranslations = static_cast<std::int64_t>(plan->window.width() + 1) *
                           static_cast<std::int64_t>(plan->window.height() + 1);
    cost.imageBytes = plan->imageBytes;
    cost.work = static_cast<double>(cost.numLatticePoints) *
                static_cast<double>(cost.numTranslations) *
                static_cast<double>(plan->model->points().size());
    return cost;
}
