#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "csv_points.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "grid_options.h"
#include "pattern_file.h"

namespace ptmatch::tool {

/// One place of a grid pattern among the data points.
struct GridPlacement {
    /// For each set position of the pattern the index of its data point, negative when it has none.
    std::vector<long> map;
    /// Share of the set positions that have a data point.
    double coverage = 0.0;
    /// From positions of the pattern file (column, row) to data; the least-squares affine map of
    /// the pairs (a similarity when they lie in one line). Absent when they do not determine one.
    std::optional<rxXform<2>> dataFromPattern;
    /// Root mean square distance between placed positions and their data points, data units.
    double rmsError = 0.0;
    /// By how many rows or columns the pattern reaches beyond the grid that was seen; absent when
    /// the pattern was matched without mapping the data onto a grid.
    std::optional<long> reachesBeyond;

    std::size_t matched() const;
};

/// Everything that the table, the JSON text, the CSV text and the picture of a grid match are made
/// from.
struct GridMatchReport {
    std::string patternFile;
    std::string dataFile;
    GridPattern pattern;
    PointTable data;
    StepChoice choice;
    Interval rotationDeg;
    Interval scale;
    /// Absent: chosen by the matcher.
    std::optional<double> snap;
    double minCoverage = 0.5;
    long maxResults = 1;
    double seconds = 0.0;
    /// Best first: larger coverage, then smaller error.
    std::vector<GridPlacement> placements;
};

/// The transform and the error of `placement`, from its map.
void fitToMap(GridPlacement& placement, const GridPattern& pattern,
              const std::vector<rxVector<2>>& data);

/// Several data points may lie within the snap distance of one position, and the matcher takes the
/// last of them. Gives each position that has a data point the nearest one to where the placement
/// puts it, and fits again.
void preferNearest(GridPlacement& placement, const GridPattern& pattern,
                   const std::vector<rxVector<2>>& data);

/// "77 of 80", the share of the pattern that `placement` matched, `separator` in between.
std::string matchedText(const GridPlacement& placement, const std::string& separator);

/// The lines `column,row,data,x,y` of all set positions for the best placement, under a header of
/// these names; the last three are empty for positions without a data point. Just the header when
/// nothing was found.
std::string gridMatchCsv(const GridMatchReport& report);

}  // namespace ptmatch::tool
