#pragma once

#include <iosfwd>
#include <limits>
#include <string>

#include "csv_points.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::tool {

/// Runs the matcher and shows on a terminal how far it is: a run by votes by its share, an
/// exhaustive one, which does not tell, by its time. To be interrupted by Ctrl-C it needs an
/// InterruptGuard of the caller.
/// @param label      begins the line of progress; may be empty
/// @param timeLimit  seconds; has no effect on a run that cannot be interrupted
/// @throws InputError               the matcher refuses points or parameters.
/// @throws rxDeadlinePassed         the time limit passed.
/// @throws rxAttention::Interrupted
rxPointMatcherResultSet watchedSearch(const rxPointMatcher& matcher, const PointTable& data,
                                      const rxPointMatcherRunParams& params,
                                      const std::string& label = {},
                                      double timeLimit = std::numeric_limits<double>::infinity());

/// Says so when an exhaustive search is far beyond what ends within minutes.
void noteLongSearch(const PointTable& model, const PointTable& data, std::ostream& notes);

}  // namespace ptmatch::tool
