#pragma once

#include <vector>

#include "foundation/vector.h"
#include "ptmatch/lattice_vote.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/vote_weights.h"
#include "reference/random_problems.h"
#include "reference/reference_search.h"

// First votes that are compared with the plain reference's, candidate by candidate.
namespace ptmatch::testing {

/// A pose search on a grid of size 1.
struct Task {
    std::vector<rxVector<2>> model;
    std::vector<long> weights;
    std::vector<rxVector<2>> data;
    rxPointMatcherRunParams params;
    long capacity = 8;
};

/// An image of about width x height pixels, with a few degrees of rotation.
Task randomTask(reference::Random& random, double width, double height);

void addWeights(reference::Random& random, long low, long high, Task& task);

/// What the plain reference keeps after a vote over the lattice.
struct Expected {
    long totalWeight;
    std::vector<reference::CoarseList::Item> bestFirst;
};
Expected expectedOf(const Task& task, double minCoverage);

/// A task as the library sees it.
struct PreparedTask {
    rx_PointMatcherModel model;
    detail::SearchGrid grid;
    detail::VoteWeights weights;
    rxPelRect window;

    PreparedTask(const Task& task, double minCoverage);
};

/// A task whose only full vote is at this scale and rotation: every model point lies on a mark
/// there, at the edge or a corner of the mark more often than not.
Task plantedAt(reference::Random& random, const std::vector<rxVector<2>>& model, double scale,
               double degrees);

/// The translation of that vote, for a task as it was prepared.
rxPair<long> plantedTranslation();

/// Votes over the lattice and compares the store with the reference's: scores, candidates and their
/// order.
void expectSameCandidates(const Task& task, const PreparedTask& prepared,
                          const detail::OfferPeaks& offerPeaks, const Expected& expected);

}  // namespace ptmatch::testing
