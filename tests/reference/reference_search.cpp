#include "reference/reference_search.h"

#include <algorithm>
#include <cmath>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "foundation/real.h"

namespace ptmatch::reference {
namespace {

rxXform<2> translation(double x, double y) {
    return {rxVector<2>(x, y), rxRadian(0.0), rxRadian(0.0), 1.0, 1.0};
}

rxXform<2> scaling(double factor) {
    return {rxVector<2>(0.0, 0.0), rxRadian(0.0), rxRadian(0.0), factor, factor};
}

rxXform<2> rotationBy(rxRadian angle) {
    return {rxVector<2>(0.0, 0.0), angle, angle, 1.0, 1.0};
}

void buildMarks(SearchWorld& world) {
    const Points& points = world.normalisedData;
    double minX = points[0].x();
    double maxX = points[0].x();
    double minY = points[0].y();
    double maxY = points[0].y();
    for (const rxVector<2>& p : points) {
        minX = std::min(minX, p.x());
        maxX = std::max(maxX, p.x());
        minY = std::min(minY, p.y());
        maxY = std::max(maxY, p.y());
    }
    const double pixelsPerUnit = 1.0 / world.gridSize;
    const long columns = static_cast<long>(std::trunc((maxX - minX) * pixelsPerUnit + 0.5)) + 1;
    const long rows = static_cast<long>(std::trunc((maxY - minY) * pixelsPerUnit + 0.5)) + 1;
    world.imageFromPoint =
        translation(1.0, 1.0) * scaling(pixelsPerUnit) * translation(-minX, -minY);

    world.marks = Image<int>(columns + 2, rows + 2);
    for (const rxVector<2>& p : points) {
        const rxVector<2> q = world.imageFromPoint * p;
        const long px = static_cast<long>(q.x());
        const long py = static_cast<long>(q.y());
        for (long y = py - 1; y <= py + 1; ++y) {
            for (long x = px - 1; x <= px + 1; ++x) {
                if (world.marks.contains(x, y)) world.marks.at(x, y) = 1;
            }
        }
    }
}

// Bounds stay doubles until they have met the outer bounds: a range may reach to infinity.
struct Bounds {
    double low;
    double high;
};

Bounds intersection(const Bounds& a, const Bounds& b) {
    return {std::max(a.low, b.low), std::min(a.high, b.high)};
}

Window translationWindow(const Model& model, const SearchWorld& world,
                         const rxPointMatcherRunParams& params) {
    const rxXform<2>& toImage = world.imageFromPoint;
    const rxVector<2> c0 = toImage * model.centre;
    const double lastX = static_cast<double>(world.marks.width - 1);
    const double lastY = static_cast<double>(world.marks.height - 1);
    Bounds x{std::floor(0.0 - c0.x()) - 8.0, std::ceil(lastX - c0.x()) + 8.0};
    Bounds y{std::floor(0.0 - c0.y()) - 8.0, std::ceil(lastY - c0.y()) + 8.0};

    const rxRange xRange = params.xTranslationUncertainty();
    if (xRange.range() == rxRangeDefs::Normal) {
        const rxVector<2> start = toImage * (model.centre + rxVector<2>(xRange.start(), 0.0));
        const rxVector<2> end = toImage * (model.centre + rxVector<2>(xRange.end(), 0.0));
        x = intersection(x, {std::floor(start.x() - c0.x()), std::ceil(end.x() - c0.x())});
    }
    const rxRange yRange = params.yTranslationUncertainty();
    if (yRange.range() == rxRangeDefs::Normal) {
        const rxVector<2> start = toImage * (model.centre + rxVector<2>(0.0, yRange.start()));
        const rxVector<2> end = toImage * (model.centre + rxVector<2>(0.0, yRange.end()));
        y = intersection(y, {std::floor(start.y() - c0.y()), std::ceil(end.y() - c0.y())});
    }
    if (x.low > x.high || y.low > y.high) return {};
    return {static_cast<long>(x.low), static_cast<long>(x.high), static_cast<long>(y.low),
            static_cast<long>(y.high)};
}

long positiveSum(const std::vector<long>& weights) {
    long sum = 0;
    for (const long weight : weights) sum += std::max(weight, 0L);
    return sum;
}

// A missing neighbour is no rival.
bool isPeak(const Image<long>& votes, long x, long y) {
    const long value = votes.at(x, y);
    const auto beats = [&](long dx, long dy) {
        return !votes.contains(x + dx, y + dy) || value > votes.at(x + dx, y + dy);
    };
    const auto reaches = [&](long dx, long dy) {
        return !votes.contains(x + dx, y + dy) || value >= votes.at(x + dx, y + dy);
    };
    return beats(-1, 0) && beats(0, -1) && beats(-1, -1) && beats(-1, 1) &&  //
           reaches(1, 0) && reaches(1, -1) && reaches(0, 1) && reaches(1, 1);
}

}  // namespace

double resolvedGridSize(const Model& model, const rxPointMatcherRunParams& params) {
    const bool isAutomatic = params.autoGridSize() || !(params.gridSize() > 0.0);
    return isAutomatic ? model.defaultGridSize : params.gridSize();
}

double resolvedCaptureRange(const rxPointMatcherRunParams& params, double gridSize) {
    const bool isAutomatic = params.autoCaptureRange() || params.captureRange() < 0.0;
    return isAutomatic ? gridSize : params.captureRange();
}

std::vector<long> voteWeightsOf(const Model& model) {
    if (!model.isWeighted()) return std::vector<long>(model.points.size(), 1);
    long positive = 0;
    long negative = 0;
    for (const long weight : model.weights) {
        if (weight >= 1) {
            positive += weight;
        } else {
            negative += -weight;
        }
    }
    double factor = 1.0;
    if (positive > 32767 || negative >= 32768) {
        factor = 16384.0 / static_cast<double>(std::max(positive, negative));
    }
    std::vector<long> scaled;
    for (const long weight : model.weights) {
        scaled.push_back(iRound(static_cast<double>(weight) * factor));
    }
    return scaled;
}

SearchWorld prepareSearch(const Model& model, const Points& data,
                          const rxPointMatcherRunParams& params, double minCoverage,
                          long capacity) {
    SearchWorld world;
    world.gridSize = resolvedGridSize(model, params);
    world.captureRange = resolvedCaptureRange(params, world.gridSize);
    world.capacity = capacity;
    const rxXform<2> modelFromData = params.startPose().inverse();
    for (const rxVector<2>& d : data) world.normalisedData.push_back(modelFromData * d);
    buildMarks(world);
    world.window = translationWindow(model, world, params);

    world.voteWeights = voteWeightsOf(model);
    const long highestVote = positiveSum(world.voteWeights);
    world.canVote = highestVote >= 2;
    world.minimumScore =
        std::max(2L, static_cast<long>(minCoverage * static_cast<double>(highestVote)));
    return world;
}

std::vector<double> scaleLattice(const Model& model, const rxRange& uncertainty, double gridSize) {
    double low = std::max(1.0 + uncertainty.start(), 0.1);
    double high = 1.0 + uncertainty.end();
    const double step = scaleStep_(model, gridSize);
    const double centre = (low + high) / 2.0;
    // A model without extent has no step: no scale can be told from another.
    if (!std::isfinite(step)) return {centre};

    const long half = (static_cast<long>((high - low) / step) + 1) / 2;
    low = centre - step * static_cast<double>(half);
    high = centre + step * static_cast<double>(half);
    if (high < 0.1) high = 0.1;
    if (high - low < step) return {centre};

    std::vector<double> scales;
    double scale = low;
    while (scale <= high) {
        scales.push_back(scale);
        scale += step;
    }
    return scales;
}

std::vector<double> rotationLattice(const Model& model, const rxAngleRange& uncertainty,
                                    double scale, double gridSize) {
    double halfDeg = 180.0;
    double centreDeg = 0.0;
    if (uncertainty.range() != rxRangeDefs::Full) {
        halfDeg = rxDegree(uncertainty.length() / 2.0).toDouble();
        centreDeg = rxDegree(uncertainty.middle()).toDouble();
    }
    const double step = rotationStep_(model, scale, gridSize);
    if (halfDeg * 2.0 < step) return {centreDeg};

    const double steps = static_cast<double>(static_cast<long>(halfDeg / step) + 1);
    const double high = centreDeg + step * steps;
    std::vector<double> angles;
    double angle = centreDeg - step * steps;
    while (angle <= high) {
        angles.push_back(angle);
        angle += step;
    }
    return angles;
}

std::vector<rxPair<long>> modelPixels(const Model& model, const SearchWorld& world, double scale,
                                      double rotationDeg) {
    const rxVector<2>& c = model.centre;
    const rxRadian angle{rxDegree(rotationDeg)};
    const rxXform<2> imageFromModel = world.imageFromPoint * translation(c.x(), c.y()) *
                                      scaling(scale) * rotationBy(angle) *
                                      translation(-c.x(), -c.y());
    std::vector<rxPair<long>> pixels;
    for (const rxVector<2>& m : model.points) {
        const rxVector<2> q = imageFromModel * m;
        pixels.emplace_back(iRound(q.x()), iRound(q.y()));
    }
    return pixels;
}

Image<long> countVotes(const SearchWorld& world, const std::vector<rxPair<long>>& pixels) {
    const Window& window = world.window;
    Image<long> votes(window.highX - window.lowX + 1, window.highY - window.lowY + 1);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const long weight = world.voteWeights[i];
        for (long y = 0; y < votes.height; ++y) {
            for (long x = 0; x < votes.width; ++x) {
                const long markX = window.lowX + x + pixels[i].x();
                const long markY = window.lowY + y + pixels[i].y();
                if (!world.marks.contains(markX, markY)) continue;
                votes.at(x, y) += weight * world.marks.at(markX, markY);
            }
        }
    }
    return votes;
}

std::vector<rxPair<long>> findPeaks(const Image<long>& votes, long threshold, bool testMaxima) {
    std::vector<rxPair<long>> peaks;
    for (long y = 0; y < votes.height; ++y) {
        for (long x = 0; x < votes.width; ++x) {
            if (votes.at(x, y) < threshold) continue;
            if (!testMaxima || isPeak(votes, x, y)) peaks.emplace_back(x, y);
        }
    }
    return peaks;
}

void voteAndCollect(const Model& model, const SearchWorld& world, double scale, double rotationDeg,
                    CoarseList& list) {
    const long threshold = list.isFull() ? list.lowestScore() + 1 : world.minimumScore;
    const Image<long> votes = countVotes(world, modelPixels(model, world, scale, rotationDeg));
    const bool testMaxima = list.capacity() >= 2 && votes.width >= 2 && votes.height >= 2;
    for (const rxPair<long>& peak : findPeaks(votes, threshold, testMaxima)) {
        const rxPair<long> shift(world.window.lowX + peak.x(), world.window.lowY + peak.y());
        list.add(votes.at(peak.x(), peak.y()), CoarseCandidate{shift, scale, rotationDeg});
    }
}

CoarseList searchLattice(const Model& model, const SearchWorld& world,
                         const rxPointMatcherRunParams& params, long& polls) {
    CoarseList list(model.totalWeight, world.capacity);
    if (world.window.isEmpty() || !world.canVote) return list;
    for (const double scale : scaleLattice(model, params.scaleUncertainty(), world.gridSize)) {
        const std::vector<double> angles =
            rotationLattice(model, params.rotationUncertainty(), scale, world.gridSize);
        for (const double angle : angles) {
            ++polls;
            voteAndCollect(model, world, scale, angle, list);
        }
    }
    return list;
}

}  // namespace ptmatch::reference
