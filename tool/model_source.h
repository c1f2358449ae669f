#pragma once

#include <memory>
#include <string>

#include "csv_points.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::tool {

/// A pattern of points that is ready to be looked for.
struct ModelSource {
    /// Its points. Weights when the table names them; of a trained matcher, unless all are 1.
    PointTable table;
    /// Trained on them. Any number of threads may run it.
    std::shared_ptr<const rxPointMatcher> matcher;
};

/// A matcher trained on the table.
/// @param name  what messages call the table
/// @throws InputError  the points or weights cannot be trained on.
std::shared_ptr<rxPointMatcher> trainedOnPoints(const PointTable& table,
                                                rxPointMatcherDefs::Mode mode,
                                                const std::string& name);

/// The points that a loaded matcher was trained on.
/// @throws InputError  it was trained on a grid pattern.
PointTable pointsOf(const rxPointMatcher& matcher, const std::string& name);

/// The model in the file at `path`, a table of points or a trained matcher: its content tells which
/// of them it is. For an exhaustive search a trained one is trained again, for an archive does not
/// record the mode.
/// @throws InputError  the file cannot be read, is none of the two or cannot be trained on.
ModelSource readModel(const std::string& path, rxPointMatcherDefs::Mode mode);

}  // namespace ptmatch::tool
