#include "reference/reference_grid_match.h"

#include <algorithm>

#include "foundation/angle.h"
#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "foundation/range.h"
#include "reference/reference_grid_map.h"
#include "reference/reference_run.h"

namespace ptmatch::reference {
namespace {

const Positions kBeside{{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
const Positions kDiagonal{{-1, -1}, {1, -1}, {-1, 1}, {1, 1}};

Image<int> marksOf(const rxPelBuffer_const<unsigned char>& image) {
    Image<int> marks(image.width(), image.height());
    for (const rxPair<long>& position : positionsOf(image)) {
        const rxPair<long> place = position - image.offset();
        marks.at(place.x(), place.y()) = 1;
    }
    return marks;
}

long countNeighbours(const Image<int>& marks, const rxPair<long>& place, const Positions& steps) {
    return std::count_if(steps.begin(), steps.end(), [&](const rxPair<long>& step) {
        const rxPair<long> at = place + step;
        return marks.contains(at.x(), at.y()) && marks.at(at.x(), at.y()) != 0;
    });
}

long mostNeighbours(const Image<int>& marks, const Positions& places, const Positions& steps) {
    long most = 0;
    for (const rxPair<long>& place : places) {
        most = std::max(most, countNeighbours(marks, place, steps));
    }
    return most;
}

/// Nothing for a transform that cannot be inverted.
std::optional<rxXform<2>> inverseOf(const rxXform<2>& xform) {
    if (xform.isSingular()) return std::nullopt;
    try {
        return xform.inverse();
    } catch (const rxMathError&) {
        return std::nullopt;
    }
}

/// One placement while its points are collected.
class Collected {
  public:
    explicit Collected(const Pattern& pattern)
        : corner_(pattern.corner), map_(pattern.marks.width, pattern.marks.height) {
        std::fill(map_.pixels.begin(), map_.pixels.end(), -1L);
    }

    /// @param position  inside the pattern.
    void add(const rxPair<long>& position, long index, const rxVector<2>& point) {
        const rxPair<long> place = position - corner_;
        long& cell = map_.at(place.x(), place.y());
        if (cell < 0) {
            ++cells_;
            line_.feed(rxVector<2>(position));
        }
        cell = index;
        fitter_.update(point, rxVector<2>(position));
    }

    /// The transform from positions to points; the identity when the pairs leave it open.
    [[nodiscard]] rxXform<2> fit(int& dof) const {
        dof = line_.isCollinear() ? 4 : 6;
        try {
            return fitter_.fit(dof);
        } catch (const rxException&) {
            dof = 0;
            return {};
        }
    }
    [[nodiscard]] long cells() const { return cells_; }
    [[nodiscard]] const Image<long>& map() const { return map_; }

  private:
    rxPair<long> corner_;
    Image<long> map_;
    long cells_ = 0;
    LineTracker line_;
    rxLSPointToPointFitter fitter_;
};

double coverageOf(const Collected& collected, const GridMatcher& matcher) {
    return static_cast<double>(collected.cells()) / static_cast<double>(matcher.numGridPoints);
}

/// Mean squared distance, on the grid, of the points from their positions.
double gridError(const Image<long>& map, const rxPair<long>& corner, const Points& data,
                 const rxXform<2>& dataFromModel) {
    double sum = 0.0;
    long count = 0;
    const rxXform<2> modelFromData = dataFromModel.inverse();
    for (long y = 0; y < map.height; ++y) {
        for (long x = 0; x < map.width; ++x) {
            const long index = map.at(x, y);
            if (index < 0) continue;
            const rxVector<2> position(rxPair<long>(x, y) + corner);
            // Model coordinates beside grid positions: meant so.
            sum += squaredDistance(modelFromData * data[static_cast<std::size_t>(index)], position);
            ++count;
        }
    }
    return count > 0 ? sum / static_cast<double>(count) : 0.0;
}

rxRange sizeTolOf(const rxPointMatcherRunParams& params) {
    const rxRange change = params.scaleUncertainty();
    return {1.0 + change.start(), 1.0 + change.end()};
}

rxPtToGridMapRunParams mappingOf(const GridMatcher& matcher,
                                 const rxPointMatcherRunParams& params) {
    const rxVector<2> origin = matcher.modelFromGrid * rxVector<2>(0.0, 0.0);
    rxVector<2> xv = matcher.modelFromGrid * rxVector<2>(1.0, 0.0) - origin;
    rxVector<2> yv = matcher.modelFromGrid * rxVector<2>(0.0, 1.0) - origin;
    if (matcher.pattern.marks.width == 1) xv = rxVector<2>();
    if (matcher.pattern.marks.height == 1) yv = rxVector<2>();
    const bool hasSnap = !params.autoCaptureRange() && params.captureRange() > 0.0;
    return rxPtToGridMapRunParams(xv, yv, matcher.isStaggered,
                                  hasSnap ? params.captureRange() : 0.0, sizeTolOf(params),
                                  params.rotationUncertainty());
}

GridResult resultAt(const rxPair<long>& shift, const GridMatcher& matcher, const Points& data,
                    const Positions& map, const rxXform<2>& gridFromModel) {
    Collected collected(matcher.pattern);
    for (std::size_t k = 0; k < data.size(); ++k) {
        if (isUnassigned(map[k])) continue;
        const rxPair<long> position = map[k] - shift;
        if (!matcher.pattern.marksPosition(position)) continue;
        collected.add(position, static_cast<long>(k), data[k]);
    }
    GridResult result;
    result.modelToDataXform = collected.fit(result.dof) * gridFromModel;
    if (!inverseOf(result.modelToDataXform)) {
        // Points on a line at positions that are not: as good as no fit.
        result.dof = 0;
        result.modelToDataXform = gridFromModel;
    }
    result.gridToData = collected.map();
    result.coverage = coverageOf(collected, matcher);
    result.fitError =
        gridError(collected.map(), matcher.pattern.corner, data, result.modelToDataXform);
    return result;
}

std::vector<GridResult> matchPointsToGrid(const GridMatcher& matcher, const Points& data,
                                          const rxPointMatcherRunParams& params,
                                          const rxXform<2>& gridFromModel) {
    std::vector<GridResult> results;
    const GridMapReport mapped = mapToGrid(data, mappingOf(matcher, params));
    if (mapped.count < 3) return results;
    Positions assigned;
    for (const rxPair<long>& position : mapped.map) {
        if (!isUnassigned(position)) assigned.push_back(position);
    }
    const rx_PointToGridCorresponderRunParams placing(params.minCoverage(), 1.0,
                                                      params.maxNumResults());
    for (const Placement& placement : place(matcher.pattern, assigned, placing)) {
        results.push_back(resultAt(placement.position, matcher, data, mapped.map, gridFromModel));
    }
    std::stable_sort(results.begin(), results.end(), [](const GridResult& a, const GridResult& b) {
        if (a.coverage != b.coverage) return a.coverage > b.coverage;
        return a.fitError < b.fitError;
    });
    return results;
}

rxXform<2> nestedStartPose(const rxAngleRange& rotation) {
    rxRadian angle(0.0);
    if (rotation.range() == rxRangeDefs::Normal) angle = rxDegree(rotation.middle());
    return {rxVector<2>(0.0, 0.0), angle, angle, 1.0, 1.0};
}

rxPointMatcherRunParams nestedParamsOf(const rxPointMatcherRunParams& params) {
    rxPointMatcherRunParams nested;
    nested.minCoverage(params.minCoverage());
    nested.autoGridSize(params.autoGridSize());
    nested.gridSize(params.gridSize());
    nested.autoCaptureRange(params.autoCaptureRange());
    nested.captureRange(params.captureRange());
    nested.startPose(nestedStartPose(params.rotationUncertainty()));
    nested.rotationUncertainty(params.rotationUncertainty());
    nested.scaleUncertainty(params.scaleUncertainty());
    nested.maxNumResults(params.maxNumResults());
    return nested;
}

GridResult resultOf(const Result& nested, const GridMatcher& matcher, const Points& data) {
    const Image<int>& marks = matcher.pattern.marks;
    Collected collected(matcher.pattern);
    for (std::size_t i = 0; i < nested.modelToDataMap.size(); ++i) {
        const long index = nested.modelToDataMap[i];
        const rxPair<long> place = matcher.columnsAndRows[i];
        // Of an image with an empty margin these are not the places in the pattern: meant so.
        if (index < 0 || !marks.contains(place.x(), place.y())) continue;
        collected.add(place + matcher.pattern.corner, index, data[static_cast<std::size_t>(index)]);
    }
    GridResult result;
    result.modelToDataXform = collected.fit(result.dof);
    result.gridToData = collected.map();
    result.coverage = coverageOf(collected, matcher);
    result.fitError = nested.fitError;
    return result;
}

std::vector<GridResult> matchPointsToPoints(const GridMatcher& matcher, const Points& data,
                                            const rxPointMatcherRunParams& params) {
    std::vector<GridResult> results;
    const RunReport nested = run(trainModel(matcher.modelPoints), data, nestedParamsOf(params));
    for (const Result& result : nested.results) {
        results.push_back(resultOf(result, matcher, data));
    }
    return results;
}

}  // namespace

std::optional<GridMatcher> trainOnImage(const rxPelBuffer_const<unsigned char>& image) {
    const Image<int> marks = marksOf(image);
    const Positions positions = positionsOf(image);
    GridMatcher matcher;
    matcher.modelFromGrid = image.clientFromImageXform();
    matcher.numGridPoints = static_cast<long>(positions.size());
    if (matcher.numGridPoints < 3) return std::nullopt;
    for (const rxPair<long>& position : positions) {
        matcher.columnsAndRows.push_back(position - image.offset());
        matcher.modelPoints.push_back(matcher.modelFromGrid *
                                      rxVector<2>(matcher.columnsAndRows.back()));
    }
    matcher.isStaggered = mostNeighbours(marks, matcher.columnsAndRows, kBeside) == 0;
    const Positions& steps = matcher.isStaggered ? kDiagonal : kBeside;
    matcher.isSparse =
        matcher.numGridPoints < 10 || mostNeighbours(marks, matcher.columnsAndRows, steps) <= 1;
    matcher.pattern = trainPattern(
        positions, rx_PointToGridCorresponderTrainParams(
                       matcher.isStaggered, rx_PointToGridCorresponderDefs::eAllPoints));
    return matcher;
}

std::vector<GridResult> runOnGrid(const GridMatcher& matcher, const Points& data,
                                  const rxPointMatcherRunParams& params) {
    const std::optional<rxXform<2>> gridFromModel = inverseOf(matcher.modelFromGrid);
    // Where no fit stands, this inverse is the pose of a result, and taken back itself.
    if (!gridFromModel || !inverseOf(*gridFromModel)) return {};
    return matcher.isSparse ? matchPointsToPoints(matcher, data, params)
                            : matchPointsToGrid(matcher, data, params, *gridFromModel);
}

}  // namespace ptmatch::reference
