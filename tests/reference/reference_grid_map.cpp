#include "reference/reference_grid_map.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "foundation/angle.h"
#include "foundation/exception.h"
#include "foundation/line.h"
#include "foundation/range.h"

namespace ptmatch::reference {
namespace {

constexpr double kOffLine = 0.25;
constexpr double kDefaultSnap = 0.2;
constexpr double kLeastDirTolDeg = 1.5;
constexpr std::size_t kMaxLinks = 4;
constexpr std::size_t kLinksThatEndABucket = 3;
constexpr long kEnoughForFirstPass = 30;
constexpr double kFarthestPosition = 1073741824.0;  // 2^30

double degreesOf(rxRadian angle) {
    return rxDegree(angle).toDouble();
}

/// The direction in [0, 360].
double directionDeg(const rxVector<2>& v) {
    const double angle = degreesOf(v.angle());
    return angle < 0.0 ? angle + 360.0 : angle;
}

long truncated(double value) {
    return static_cast<long>(value);
}

rxVector<2> nearestWhole(const rxVector<2>& p) {
    return {std::floor(p.x() + 0.5), std::floor(p.y() + 0.5)};
}

/// Parallel to rounding: the two products of the cross product cancel.
bool areParallel(const rxVector<2>& a, const rxVector<2>& b) {
    const double one = a.x() * b.y();
    const double other = b.x() * a.y();
    const double eps = std::numeric_limits<double>::epsilon();
    return std::abs(one - other) <= 8.0 * eps * (std::abs(one) + std::abs(other));
}

/// Squared distances, both bounds included.
struct Band {
    double low = 0.0;
    double high = 0.0;

    Band(double length, const rxRange& ratios) {
        const double s = ratios.start();
        const double e = ratios.end();
        low = s == -std::numeric_limits<double>::infinity() ? 0.0 : (length * s) * (length * s);
        high = (length * e) * (length * e);
    }
    [[nodiscard]] bool holds(double squared) const { return low <= squared && squared <= high; }
};

bool holdsNothing(const rxRange& range) {
    return range.range() == rxRangeDefs::Normal && range.start() > range.end();
}

bool holdsNothing(const rxAngleRange& range) {
    return range.range() == rxRangeDefs::Normal &&
           range.start().toDouble() > range.end().toDouble();
}

/// Thresholds of 3, 5, 8, 13, ... points, each of which calls for one fit.
class FitSchedule {
  public:
    /// Whether a fit is due at that count; the threshold then moves beyond it.
    bool isDue(long count) {
        if (count < threshold_) return false;
        while (threshold_ <= count) {
            const long next = threshold_ + previous_;
            previous_ = threshold_;
            threshold_ = next;
        }
        return true;
    }

  private:
    long previous_ = 2;
    long threshold_ = 3;
};

class Mapping {
  public:
    Mapping(const Points& points, const rxPtToGridMapRunParams& params)
        : points_(points), params_(params), xv_(params.xv()), yv_(params.yv()) {}

    GridMapReport run();

  private:
    bool takeSteps();
    void setUp();
    void sortIntoBuckets();
    void linkNeighbours();
    void linkNeighboursOf(GridNode& node, const Band& xBand, const Band& yBand);
    std::vector<long> rotationScores(long low, long high) const;
    void findRotation();
    bool fitsAnAxis(double angleDeg) const;
    bool fitsAxis(double angleDeg, double axisDeg) const;
    long walkFrom(GridNode& node);
    GridNode* findSeed();
    GridEstimator modelAt(const GridNode& node) const;
    GridNode* chooseOrigin(GridNode& seed);
    bool accepts(const GridNode& node, rxVector<2>& position) const;
    bool collect(const GridNode& node, bool assigns);
    long growFirstPass(const GridNode& from);
    long growSecondPass(const GridNode& from);
    long ringLimit(const GridNode& from) const;
    void convertStaggered();
    void fitTransform();

    [[nodiscard]] GridNode* bucket(long column, long row) const {
        const bool exists = column >= 0 && row >= 0 && column < columns_ && row < rows_;
        return exists ? heads_[static_cast<std::size_t>(row * columns_ + column)] : nullptr;
    }
    [[nodiscard]] bool usesX() const { return !xv_.isNull(); }
    [[nodiscard]] bool usesY() const { return !yv_.isNull(); }
    [[nodiscard]] int dof() const { return usesX() && usesY() ? 6 : 4; }

    const Points& points_;
    const rxPtToGridMapRunParams& params_;
    GridMapReport report_;

    // The working steps: for a staggered grid those of its diagonals.
    rxVector<2> xv_;
    rxVector<2> yv_;
    double xLength_ = 0.0;  // of a null step: that of the other
    double yLength_ = 0.0;
    double snap_ = 0.0;
    rxRange sizeTol_;
    rxAngleRange angleTol_;
    double axisX_ = 0.0;
    double axisY_ = 0.0;
    double dirTol_ = 0.0;

    long columns_ = 0;
    long rows_ = 0;
    std::vector<GridNode> nodes_;
    std::vector<GridNode*> heads_;
    DirectionHistogram histogram_{};
    double rotationDeg_ = 0.0;
    GridEstimator estimator_;

    template <typename Visit>
    void forEachNode(Visit visit) const {
        for (long row = 0; row < rows_; ++row) {
            for (long column = 0; column < columns_; ++column) visitBucket(column, row, visit);
        }
    }

    template <typename Visit>
    void visitBucket(long column, long row, Visit visit) const {
        for (GridNode* node = bucket(column, row); node != nullptr; node = node->next) visit(*node);
    }

    template <typename Visit>
    void visitRing(const GridNode& from, long r, Visit visit) const {
        const long cx = from.column;
        const long cy = from.row;
        for (long x = cx - r; x < cx + r; ++x) visitBucket(x, cy - r, visit);
        for (long y = cy - r; y < cy + r; ++y) visitBucket(cx + r, y, visit);
        for (long x = cx + r; x > cx - r; --x) visitBucket(x, cy + r, visit);
        for (long y = cy + r; y > cy - r; --y) visitBucket(cx - r, y, visit);
    }
};

GridMapReport Mapping::run() {
    if (points_.empty() || !takeSteps()) return report_;
    setUp();
    if (holdsNothing(sizeTol_) || holdsNothing(angleTol_)) return report_;
    sortIntoBuckets();
    linkNeighbours();
    findRotation();
    GridNode* const seed = findSeed();
    if (seed == nullptr) return report_;
    report_.trace.seed = seed->index;

    report_.hasMap = true;
    report_.map.assign(points_.size(), {rxPtToGridMapResult::kUnassigned,  //
                                        rxPtToGridMapResult::kUnassigned});
    const GridNode* const origin = chooseOrigin(*seed);
    report_.trace.origin = origin->index;
    report_.trace.firstPassCount = growFirstPass(*origin);
    report_.count = growSecondPass(*seed);
    report_.valid = report_.count >= 3;
    if (!report_.valid) return report_;
    if (params_.staggered()) convertStaggered();
    fitTransform();
    return report_;
}

// False for steps that span no grid.
bool Mapping::takeSteps() {
    if (params_.staggered()) {
        const rxVector<2> sum = xv_ + yv_;
        const rxVector<2> difference = yv_ - xv_;
        xv_ = sum;
        yv_ = difference;
        if (xv_.isNull() || yv_.isNull()) return false;
    }
    if (xv_.isNull() && yv_.isNull()) return false;
    return xv_.isNull() || yv_.isNull() || !areParallel(xv_, yv_);
}

void Mapping::setUp() {
    xLength_ = usesX() ? xv_.len() : yv_.len();
    yLength_ = usesY() ? yv_.len() : xv_.len();
    snap_ =
        params_.snapSize() > 0.0 ? params_.snapSize() : kDefaultSnap * std::min(xLength_, yLength_);
    sizeTol_ = params_.sizeTol();
    if (sizeTol_.range() == rxRangeDefs::Empty) sizeTol_ = rxRange(0.8, 1.2);
    angleTol_ = params_.angleTol();
    if (angleTol_.range() == rxRangeDefs::Empty) {
        angleTol_ = rxAngleRange(rxDegree(-20.0), rxDegree(20.0), false);
    }
    axisX_ = usesX() ? directionDeg(xv_) : 0.0;
    axisY_ = usesY() ? directionDeg(yv_) : 0.0;
    // With one null step, both of these are those of the other.
    const double tx = degreesOf(rxRadian(std::atan2(snap_, xLength_)));
    const double ty = degreesOf(rxRadian(std::atan2(snap_, yLength_)));
    dirTol_ = std::max(kLeastDirTolDeg, std::min(tx, ty));
    report_.trace.snap = snap_;
    report_.trace.dirTolDeg = dirTol_;
}

void Mapping::sortIntoBuckets() {
    double minX = points_[0].x();
    double maxX = points_[0].x();
    double minY = points_[0].y();
    double maxY = points_[0].y();
    for (const rxVector<2>& p : points_) {
        minX = std::min(minX, p.x());
        maxX = std::max(maxX, p.x());
        minY = std::min(minY, p.y());
        maxY = std::max(maxY, p.y());
    }
    const double r = 1.0 / std::max(xLength_, yLength_);
    columns_ = truncated((maxX - minX) * r + 0.5) + 1;
    rows_ = truncated((maxY - minY) * r + 0.5) + 1;
    report_.trace.columns = columns_;
    report_.trace.rows = rows_;
    heads_.assign(static_cast<std::size_t>(columns_ * rows_), nullptr);
    nodes_.resize(points_.size());
    for (std::size_t k = 0; k < points_.size(); ++k) {
        GridNode& node = nodes_[k];
        node.point = points_[k];
        node.index = static_cast<long>(k);
        node.column = truncated((node.point.x() - minX) * r + 0.5);
        node.row = truncated((node.point.y() - minY) * r + 0.5);
        GridNode*& head = heads_[static_cast<std::size_t>(node.row * columns_ + node.column)];
        node.next = head;
        head = &node;
    }
}

void Mapping::linkNeighbours() {
    const Band xBand(xLength_, sizeTol_);
    const Band yBand(yLength_, sizeTol_);
    forEachNode([&](GridNode& node) { linkNeighboursOf(node, xBand, yBand); });
    report_.trace.histogram = histogram_;
    for (const GridNode& node : nodes_) {
        std::vector<long> neighbours;
        for (const GridLink& link : node.links) neighbours.push_back(link.neighbour->index);
        report_.trace.links.push_back(neighbours);
    }
}

void Mapping::linkNeighboursOf(GridNode& node, const Band& xBand, const Band& yBand) {
    const std::vector<rxPair<long>> around{{0, 0},  {1, 0},  {1, 1},   {1, -1}, {0, 1},
                                           {-1, 0}, {-1, 1}, {-1, -1}, {0, -1}};
    for (const rxPair<long>& step : around) {
        if (node.links.size() >= kMaxLinks) return;
        GridNode* other = bucket(node.column + step.x(), node.row + step.y());
        for (; other != nullptr; other = other->next) {
            const rxVector<2> d = other->point - node.point;
            const double squared = d.x() * d.x() + d.y() * d.y();
            if (!xBand.holds(squared) && !yBand.holds(squared)) continue;
            const double angle = directionDeg(d);
            ++histogram_[static_cast<std::size_t>(truncated(angle + 0.5) % 360)];
            node.links.push_back({angle, false, other});
            if (node.links.size() >= kLinksThatEndABucket) break;
        }
    }
}

// A whole rotation's score is that of the directions which the axes take by it. What leaves the
// circle is treated differently for the two axes.
std::vector<long> Mapping::rotationScores(long low, long high) const {
    const DirectionHistogram smooth = smoothed(histogram_);
    const auto ofX = [&](long k) {
        while (k < 0) k += 360;
        while (k >= 360) k -= 360;
        return smooth[static_cast<std::size_t>(k)];
    };
    const auto ofY = [&](long k) {
        if (k < 0) k = 0;
        while (k >= 360) k -= 360;
        return smooth[static_cast<std::size_t>(k)];
    };
    const long ix = truncated(axisX_ + 0.5);
    const long iy = truncated(axisY_ + 0.5);
    std::vector<long> scores;
    for (long r = low; r <= high; ++r) {
        long score = 0;
        if (usesX()) score += ofX(r + ix);
        if (usesY()) score += ofY(r + iy);
        scores.push_back(score);
    }
    return scores;
}

void Mapping::findRotation() {
    long low = static_cast<long>(std::floor(degreesOf(angleTol_.start())));
    long high = static_cast<long>(std::ceil(degreesOf(angleTol_.end())));
    while (high - low < 2) {
        --low;
        ++high;
    }
    const Rotation rotation = rotationAtPeak(rotationScores(low, high), low);
    rotationDeg_ = rotation.degrees;
    axisX_ += rotationDeg_;
    axisY_ += rotationDeg_;
    while (axisX_ >= 360.0) axisX_ -= 360.0;
    while (axisY_ >= 360.0) axisY_ -= 360.0;
    while (axisX_ <= -360.0) axisX_ += 360.0;
    while (axisY_ <= -360.0) axisY_ += 360.0;
    report_.trace.rotationDeg = rotationDeg_;
    report_.trace.isRotationRefined = rotation.isRefined;
}

bool Mapping::fitsAxis(double angleDeg, double axisDeg) const {
    double away = angleDeg - axisDeg;
    if (away < 0.0) away += 360.0;
    return away <= dirTol_ || away >= 360.0 - dirTol_;
}

bool Mapping::fitsAnAxis(double angleDeg) const {
    return (usesX() && fitsAxis(angleDeg, axisX_)) || (usesY() && fitsAxis(angleDeg, axisY_));
}

long Mapping::walkFrom(GridNode& node) {
    node.visited = true;
    long count = 0;
    for (GridLink& link : node.links) {
        if (link.neighbour->visited || !fitsAnAxis(link.angleDeg)) continue;
        const long beyond = walkFrom(*link.neighbour);
        link.used = true;
        count += 1 + beyond;
    }
    return count;
}

GridNode* Mapping::findSeed() {
    GridNode* seed = nullptr;
    long best = 0;
    forEachNode([&](GridNode& node) {
        if (!node.visited) node.reach = walkFrom(node);
        if (node.reach > best) {
            best = node.reach;
            seed = &node;
        }
    });
    return seed;
}

GridEstimator Mapping::modelAt(const GridNode& node) const {
    const rxRadian angle{rxDegree(rotationDeg_)};
    const rxXform<2> rotation(rxVector<2>(0.0, 0.0), angle, angle, 1.0, 1.0);
    GridEstimator model;
    model.add({0.0, 0.0}, node.point);
    if (usesX()) model.add({1.0, 0.0}, node.point + rotation * xv_);
    if (usesY()) model.add({0.0, 1.0}, node.point + rotation * yv_);
    model.fit(dof());
    return model;
}

/// Mean squared distance of the neighbours from their nodes.
double residualOf(const GridEstimator& model, const GridNode& node) {
    double sum = 0.0;
    long count = 0;
    for (const GridLink& link : node.links) {
        if (!link.used) continue;
        const rxVector<2> point = link.neighbour->point;
        sum += squaredDistance(model.pointAt(nearestWhole(model.positionOf(point))), point);
        ++count;
    }
    return count > 0 ? sum / static_cast<double>(count) : std::numeric_limits<double>::infinity();
}

GridNode* Mapping::chooseOrigin(GridNode& seed) {
    GridNode* best = &seed;
    estimator_ = modelAt(seed);
    double bestResidual = residualOf(estimator_, seed);
    const auto tryNode = [&](GridNode& node) {
        try {
            const GridEstimator model = modelAt(node);
            const double residual = residualOf(model, node);
            if (!(residual < bestResidual)) return;
            best = &node;
            bestResidual = residual;
            estimator_ = model;
        } catch (const rxException&) {
            return;  // a node without a model is no candidate
        }
    };
    for (const GridLink& first : seed.links) {
        if (!first.used) continue;
        tryNode(*first.neighbour);
        for (const GridLink& second : first.neighbour->links) {
            if (second.used) tryNode(*second.neighbour);
        }
    }
    return best;
}

bool Mapping::accepts(const GridNode& node, rxVector<2>& position) const {
    position = nearestWhole(estimator_.positionOf(node.point));
    const bool isNear =
        std::abs(position.x()) < kFarthestPosition && std::abs(position.y()) < kFarthestPosition;
    return isNear && squaredDistance(estimator_.pointAt(position), node.point) <= snap_ * snap_;
}

bool Mapping::collect(const GridNode& node, bool assigns) {
    rxVector<2> position;
    if (!accepts(node, position)) return false;
    estimator_.add(position, node.point);
    if (assigns) {
        report_.map[static_cast<std::size_t>(node.index)] = {truncated(position.x()),
                                                             truncated(position.y())};
    }
    return true;
}

long Mapping::ringLimit(const GridNode& from) const {
    return std::max({from.column, from.row, columns_ - from.column - 1, rows_ - from.row - 1});
}

long Mapping::growFirstPass(const GridNode& from) {
    FitSchedule schedule;
    long count = 0;
    const auto visit = [&](const GridNode& node) { count += collect(node, false) ? 1 : 0; };
    visitBucket(from.column, from.row, visit);
    for (long r = 1; r <= ringLimit(from); ++r) {
        visitRing(from, r, visit);
        if (schedule.isDue(count)) {
            estimator_.fit(dof());
            ++report_.trace.firstPassFits;
        }
        if (count > kEnoughForFirstPass) {
            estimator_.fit(dof());
            report_.trace.stoppedEarly = true;
            break;
        }
    }
    return count;
}

// From the seed again, whichever node became the origin.
long Mapping::growSecondPass(const GridNode& from) {
    FitSchedule schedule;
    long count = 0;
    const auto visit = [&](const GridNode& node) { count += collect(node, true) ? 1 : 0; };
    visitBucket(from.column, from.row, visit);
    for (long r = 1; r <= ringLimit(from); ++r) {
        visitRing(from, r, visit);
        if (schedule.isDue(count)) {
            estimator_.fit(dof());
            ++report_.trace.secondPassFits;
        }
    }
    return count;
}

void Mapping::convertStaggered() {
    for (rxPair<long>& p : report_.map) {
        if (!isUnassigned(p)) p = {p.x() - p.y(), p.x() + p.y()};
    }
}

void Mapping::fitTransform() {
    std::vector<rxVector<2>> found;
    std::vector<rxVector<2>> positions;
    LineTracker line;
    for (std::size_t k = 0; k < points_.size(); ++k) {
        if (isUnassigned(report_.map[k])) continue;
        found.push_back(points_[k]);
        positions.emplace_back(report_.map[k]);
        line.feed(positions.back());
    }
    const bool hasBothSteps = !params_.xv().isNull() && !params_.yv().isNull();
    report_.trace.finalDof = hasBothSteps && !line.isCollinear() ? 6 : 4;
    const rxLSPointToPointFitter fitter(found, positions);
    report_.pointFromGrid = fitter.fit(report_.trace.finalDof);
    report_.hasTransform = true;
}

}  // namespace

void GridEstimator::fit(int dof) {
    const rxXform<2> fitted = fitter_.fit(dof);
    gridFromPoint_ = fitted.inverse();
    pointFromGrid_ = fitted;
}

void LineTracker::feed(const rxVector<2>& position) {
    if (onLine_.empty()) {
        onLine_.push_back(position);
    } else if (onLine_.size() == 1) {
        if (position != onLine_[0]) onLine_.push_back(position);
    } else if (rxLine(onLine_[1] - onLine_[0], onLine_[0]).distToPoint(position) >= kOffLine) {
        isCollinear_ = false;
    }
}

GridMapReport mapToGrid(const Points& points, const rxPtToGridMapRunParams& params) {
    return Mapping(points, params).run();
}

bool isUnassigned(const rxPair<long>& position) {
    return position == rxPair<long>(rxPtToGridMapResult::kUnassigned,  //
                                    rxPtToGridMapResult::kUnassigned);
}

DirectionHistogram smoothed(const DirectionHistogram& histogram) {
    constexpr std::array<long, 7> kWeights{1, 2, 4, 8, 4, 2, 1};
    DirectionHistogram smooth{};
    for (std::size_t i = 0; i < 360; ++i) {
        for (std::size_t k = 0; k < 7; ++k) {
            smooth[i] += kWeights[k] * histogram[(i + 357 + k) % 360];
        }
    }
    return smooth;
}

// The first entry and the last two are never chosen, and the step towards the higher neighbour is
// twice that of a parabola through the three scores.
Rotation rotationAtPeak(const std::vector<long>& scores, long lowest) {
    const std::size_t n = scores.size() - 2;
    std::size_t best = 1;
    for (std::size_t i = 2; i < n; ++i) {
        if (scores[i] > scores[best]) best = i;
    }
    Rotation rotation{static_cast<double>(lowest + static_cast<long>(best)), false};
    const long peak = scores[best];
    const long left = scores[best - 1];
    const long right = scores[best + 1];
    const long curvature = 2 * peak - left - right;
    if (left < peak && right < peak && curvature != 0) {
        rotation.degrees += static_cast<double>(right - left) / static_cast<double>(curvature);
        rotation.isRefined = right != left;
    }
    return rotation;
}

}  // namespace ptmatch::reference
