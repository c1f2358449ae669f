#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"

/// A scale and a rotation, as changes to the start pose: a place where a search votes.
struct PTMATCH_EXPORT rxVotePlace {
    double scale = 1.0;            ///< factor, above 0
    double rotationDegrees = 0.0;  ///< counter-clockwise where y points up
};

/// What a search counts at one scale and rotation: a vote for each translation that it tries.
///
/// A translation is a whole number of steps in x and y by which the centre of the model's bounds is
/// moved, seen from the start pose. Its vote is the number (with weights: the sum of the weights,
/// as they vote) of the model points that fall on the mark of a data point. A mark is the cell of a
/// data point with its eight neighbours, so a point of a true match votes for 3 x 3 translations.
///
/// Plain members: an assignment that runs out of memory may leave some of them new.
struct PTMATCH_EXPORT rxVoteImage {
    rxVotePlace place;  ///< where the votes were counted
    long width = 0;     ///< translations in x; 0 when the run returns without a search
    long height = 0;    ///< translations in y; 0 with the width
    std::vector<std::int32_t> votes;  ///< row by row, width x height
    rxPair<long> firstStep{0, 0};     ///< translation of column 0 and row 0, in steps
    double step = 0.0;                ///< the grid size in effect, model units
    /// Votes below are no candidates, from the minimum coverage: the run's search halves it, and
    /// takes 2 at least. (A search that holds as many candidates as it wants asks for more.)
    long threshold = 0;
    long highestPossible = 0;  ///< vote of a place where all points meet marks, negative ones none
    bool isWeighted = false;   ///< whether weights vote, not points
    rxXform<2> startPose;      ///< that of the run parameters
    rxVector<2> modelCenter;   ///< of the model's bounding box, model units

    /// The vote of a column and a row, which have to be inside.
    std::int32_t vote(long column, long row) const {
        return votes[static_cast<std::size_t>(row * width + column)];
    }
    /// By how much the centre of the model moves, model units, seen from the start pose. An exact
    /// match whose translation is from here to less than a step further votes here, since cells of
    /// data points begin at whole steps.
    rxVector<2> translation(double column, double row) const;
    /// Model to data, for a scale and rotation of `place`: where a column and row bring the model.
    rxXform<2> modelToData(double column, double row) const;
    /// Column and row of the translation of a pose, whatever its scale and rotation; the whole part
    /// is the element that it lies in, if it lies inside.
    rxVector<2> columnAndRow(const rxXform<2>& modelToData) const;
};

/// The votes of a run's search at a scale and rotation, to be looked at.
///
/// An addition beside the matcher: it counts again, in a plain way, what the search counts hundreds
/// at a time and does not keep.
///
///     const auto place = rfBestVotePlace(matcher, data, params);
///     if (place) draw(rfVoteImage(matcher, data, params, *place));
///
/// Of a matcher trained on a sparse grid pattern: the search for its points.
/// @param matcher, data, params  those of the run.
/// @param place  any; the search looks at those of its lattice, see the functions below.
/// @return an image of width 0 when the run returns without a search: no data, too few for the
///         minimum coverage, or no translation allowed near them.
/// @throws rxPointMatcherDefs::BadParams  the run does not vote (exhaustive, or in grid mode of a
///         dense pattern); a scale that is not above 0 or a place that is not finite; images of
///         more than 2 GiB, four bytes a vote; and as the run, for its arguments.
/// Cost: model points x translations.
PTMATCH_EXPORT rxVoteImage rfVoteImage(const rxPointMatcher& matcher,
                                       const std::vector<rxVector<2>>& data,
                                       const rxPointMatcherRunParams& params,
                                       const rxVotePlace& place);

/// The place of the search's lattice where the highest of all votes stands; of several, the first
/// that the search comes to (low scales first, then low rotations). When no vote is above 0, the
/// first place of all.
///
/// Results of the run need not lie there: they are ordered by what a fit captures, not by votes.
/// @return nothing when the run returns without a search.
/// @throws as `rfVoteImage`.
/// Cost: that of a run with the lowest minimum coverage: every vote above 0 counts, so that far
/// fewer translations can be dismissed unseen than in a run that asks for half of the model.
/// `rxAttention` interrupts it where it interrupts the run.
PTMATCH_EXPORT std::optional<rxVotePlace> rfBestVotePlace(const rxPointMatcher& matcher,
                                                          const std::vector<rxVector<2>>& data,
                                                          const rxPointMatcherRunParams& params);

/// The place of the search's lattice nearest to a pose: of its scales the nearest, then of the
/// rotations at that scale; of two as near, the lower. A pose outside the ranges is nearest to an
/// end of them.
/// @param matcher, data, params  those of the run.
/// @param modelToData  such as that of a result.
/// @return nothing when the run returns without a search.
/// @throws as `rfVoteImage`; rxPointMatcherDefs::BadParams  a pose that is singular or not finite.
/// Cost: a pass over the data, and an addition for each scale and each rotation.
PTMATCH_EXPORT std::optional<rxVotePlace> rfNearestVotePlace(const rxPointMatcher& matcher,
                                                             const std::vector<rxVector<2>>& data,
                                                             const rxPointMatcherRunParams& params,
                                                             const rxXform<2>& modelToData);
