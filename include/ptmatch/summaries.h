#pragma once

#include <iosfwd>

#include "foundation/export.h"
#include "ptmatch/point_matcher_result.h"
#include "ptmatch/point_matcher_run_params.h"

/// Run parameters and results for people: in logs, on consoles, in messages of tests.
///
/// An addition beside the matcher: no run depends on it.
///
///     std::clog << params << '\n' << found << '\n';
///
/// prints
///
///     coverage       0.8 or more
///     start pose     identity
///     x translation  any
///     y translation  -5 to 5
///     rotation       -15 to 15 deg
///     scale          -2 to 2 %
///     grid size      automatic
///     capture range  automatic
///     results        10 at most
///     2 results in 0.00135 s
///       1  coverage 1 (10 matched), fit error 0.0931, at (100, 50), rotation 5 deg, scale 1
///       2  coverage 0.7 (7 matched), fit error 0.412, at (12.5, 80), rotation -3 deg, scale 0.99
///
/// Numbers have six significant digits and a decimal point, whatever the stream's flags and locale.
/// They are not for programs to read, and their wording may change: use archives. The last line
/// ends without a line feed. A pose that is no similarity is given by the rows of its matrix; the
/// position is the image of the model's origin. In grid mode the number of matched points is left
/// out.
/// @throws whatever the stream throws.
PTMATCH_EXPORT std::ostream& operator<<(std::ostream& stream,
                                        const rxPointMatcherRunParams& params);
/// One result, on one line.
PTMATCH_EXPORT std::ostream& operator<<(std::ostream& stream, const rxPointMatcherResult& result);
/// Number of results and time, then a line for each result, best first.
PTMATCH_EXPORT std::ostream& operator<<(std::ostream& stream,
                                        const rxPointMatcherResultSet& resultSet);
