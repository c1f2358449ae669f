#pragma once

#include <array>
#include <vector>

#include "foundation/fitter.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/ptgdmap.h"
#include "reference/reference_model.h"

namespace ptmatch::reference {

/// A transform from grid positions to points, and its inverse, fitted to pairs.
class GridEstimator {
  public:
    void add(const rxVector<2>& position, const rxVector<2>& point) {
        fitter_.update(point, position);
    }
    /// Keeps the pairs.   Throws what the fitter and the inverse throw, then changes nothing.
    void fit(int dof);

    [[nodiscard]] rxVector<2> pointAt(const rxVector<2>& position) const {
        return pointFromGrid_ * position;
    }
    [[nodiscard]] rxVector<2> positionOf(const rxVector<2>& point) const {
        return gridFromPoint_ * point;
    }

  private:
    rxLSPointToPointFitter fitter_;
    rxXform<2> pointFromGrid_;
    rxXform<2> gridFromPoint_;
};

/// Whether grid positions, fed one by one, lie on one line.
class LineTracker {
  public:
    void feed(const rxVector<2>& position);
    [[nodiscard]] bool isCollinear() const { return isCollinear_; }

  private:
    std::vector<rxVector<2>> onLine_;  ///< The first position, and the first that differs from it.
    bool isCollinear_ = true;
};

struct GridNode;

struct GridLink {
    double angleDeg = 0.0;  ///< In [0, 360).
    bool used = false;
    GridNode* neighbour = nullptr;
};

struct GridNode {
    long column = 0;
    long row = 0;
    rxVector<2> point;
    long index = 0;
    std::vector<GridLink> links;
    bool visited = false;
    long reach = 0;
    GridNode* next = nullptr;  ///< In the same bucket.
};

using DirectionHistogram = std::array<long, 360>;

/// Which way a mapping went, for tests that ask whether their scenes reach what they are made for.
struct GridMapTrace {
    double snap = 0.0;
    double dirTolDeg = 0.0;
    long columns = 0;  ///< Of buckets.
    long rows = 0;
    std::vector<std::vector<long>> links;  ///< Of each point, the indices of its neighbours.
    DirectionHistogram histogram{};
    double rotationDeg = 0.0;
    bool isRotationRefined = false;
    long seed = -1;    ///< Index of a point; -1: none.
    long origin = -1;  ///< Index of the point that became (0, 0).
    long firstPassCount = 0;
    long firstPassFits = 0;
    bool stoppedEarly = false;  ///< The first pass, with buckets still to come or not.
    long secondPassFits = 0;
    int finalDof = 0;
};

struct GridMapReport {
    long count = 0;
    bool valid = false;
    bool hasMap = false;  ///< Otherwise the map of the caller stays as it was.
    std::vector<rxPair<long>> map;
    bool hasTransform = false;  ///< Otherwise the transform of the caller stays as it was.
    rxXform<2> pointFromGrid;
    GridMapTrace trace;
};

/// The mapping of points onto a grid. The arguments are taken to be sound: finite, and so close
/// together that an array of all buckets can be held.
/// Throws what the fitter and the inverse of a transform throw.
[[nodiscard]] GridMapReport mapToGrid(const Points& points, const rxPtToGridMapRunParams& params);

[[nodiscard]] bool isUnassigned(const rxPair<long>& position);

/// Circularly, with the weights 1, 2, 4, 8, 4, 2, 1.
[[nodiscard]] DirectionHistogram smoothed(const DirectionHistogram& histogram);

struct Rotation {
    double degrees = 0.0;
    bool isRefined = false;
};
/// The best of the scores, which belong to whole degrees from `lowest` up.
[[nodiscard]] Rotation rotationAtPeak(const std::vector<long>& scores, long lowest);

}  // namespace ptmatch::reference
