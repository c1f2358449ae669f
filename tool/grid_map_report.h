#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "csv_points.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "grid_options.h"
#include "grid_parts.h"

namespace ptmatch::tool {

/// The smallest range of positions that holds all that are placed.
struct GridBounds {
    rxPair<long> low;
    rxPair<long> high;
};

/// Everything that the table, the JSON text, the CSV text and the picture of a mapping onto a grid
/// are made from.
struct GridMapReport {
    std::string dataFile;
    PointTable data;
    StepChoice choice;
    bool staggered = false;
    /// Largest distance of a point from its node, data units; 0: chosen by the mapping.
    double snap = 0.0;
    Interval sizeTolerance;
    Interval angleToleranceDeg;
    double seconds = 0.0;
    /// For each data point; the smallest column and row are 0 (of a staggered grid one may be 1).
    std::vector<GridPosition> positions;
    /// From positions to points, fitted to all that are placed; there when these are 3 or more.
    std::optional<rxXform<2>> dataFromGrid;
    /// Points that the mapping placed, without a connection to the largest part of the grid; and
    /// points beyond the nearest at one position of that part.
    std::size_t strays = 0;
    std::size_t doubles = 0;
    /// Whether these kept their positions.
    bool keepsAll = false;
};

/// What can be counted and measured on the positions.
struct GridMapFigures {
    std::size_t placed = 0;
    /// Positions with at least one point.
    std::size_t nodes = 0;
    /// There when a point is placed.
    std::optional<GridBounds> bounds;
    /// Positions within the convex hull of the placed ones that have no point, row by row; nothing
    /// when the hull is too large to be looked through.
    std::optional<std::vector<rxPair<long>>> missing;
    /// Root mean square and largest distance of a placed point from its node, data units; there
    /// with dataFromGrid.
    std::optional<double> rmsError;
    std::optional<double> largestError;
    /// Points without a position that lie where the rows and columns of placed points would go on.
    /// One affine map does not reach them.
    std::size_t goesOn = 0;
};

GridMapFigures figuresOf(const GridMapReport& report);

/// Moves the positions, and the transform along, so that the smallest column and row become 0; of a
/// staggered grid one of them may stay 1, so that sums stay even.
void countFromZero(GridMapReport& report);

/// The lines `x,y,i,j` of all data points under a header of these names; i and j are empty for
/// points without a position. Coordinates read back to the same double.
std::string gridMapCsv(const GridMapReport& report);

}  // namespace ptmatch::tool
