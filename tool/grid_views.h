#pragma once

#include <vector>

#include "foundation/vector.h"
#include "grid_steps.h"
#include "option_text.h"

namespace ptmatch::tool {

/// One way to ask for a grid. The mapping is led to a grid by neighbours in the positive directions
/// of the steps only, and tells directions that look alike apart by nothing: so it is asked with
/// steps that point to where points are looked at later (down, or to the right), and for a narrow
/// range of rotations at a time.
struct GridView {
    /// The steps to ask with.
    GridSteps steps;
    /// The rotations to allow around them, degrees.
    double lowDeg = 0.0;
    double highDeg = 0.0;
    /// Whether a step was turned round: positions along it have the other sign.
    bool turnsX = false;
    bool turnsY = false;

    /// A position on the turned steps, on the steps as they were given; and the other way round.
    rxPair<long> turned(const rxPair<long>& position) const {
        return {turnsX ? -position.x() : position.x(), turnsY ? -position.y() : position.y()};
    }
};

/// The ways to ask for a grid of these steps, turned by angles within `rotationDeg`: at least one,
/// each for at most about 60 degrees, the least rotation first. The steps of each are those given,
/// rotated to the middle of its range; a range of up to 60 degrees that is even about 0 is asked
/// for at once and in the words of the caller.
/// @param rotationDeg  within -1000 to 1000; 360 or more between its ends is the full turn.
std::vector<GridView> gridViews(const GridSteps& steps, const Interval& rotationDeg);

/// The same ways with the opposite signs, for when the first ones found nothing.
std::vector<GridView> withOtherSigns(const std::vector<GridView>& views);

}  // namespace ptmatch::tool
