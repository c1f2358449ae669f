#include "ptmatch/pose_prefilter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "foundation/range.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/pose_check.h"

// How far the estimate can be from the exact code's pose.
//
// u is half the spacing of the doubles at 1 and N the size of the smaller set. Em and Ed, the
// extents, are the largest distances of model and data points from their origins; Rm and Rd, the
// reaches, those from (0, 0), at most 2^22 times the extents (else the filter is off).
//
// 1. Sums. A point about its origin is rounded once, a term of `cosine` or `sine` three times, a
//    sum N times; taking the means off doubles that. The error of either is therefore below
//    (4N + 32) N u Em Ed, that of `squares` below the same with Em^2 or Ed^2. The exact code sums
//    in two words about (0, 0): its error is below 100 N^3 u^2 Rm Rd < N^3 u Em Ed, by the limit on
//    the reaches. Both together are below e Em Ed with
//        e = 8 (N + 8)^3 u.
// 2. Linear part, a complex number a. The rotation is z / |z|, the similarity z over a sum of
//    squares q or the inverse of such a quotient. Its relative error is below
//        r = 4 e (Em Ed / |z| + E^2 / q),      E the extent of the set that q is of,
//    the second term for the similarity alone, wherever r is at most 2^-10; elsewhere the estimate
//    is not used. The factor holds the roundings of either code and the second order.
// 3. Position of a model point (no farther than Em from the origin). The estimate is a m' + t about
//    the origins, t from means that are good to e Em and e Ed: an error below
//        (4 r + 8 e) (|a| Em + Ed).
//    The exact code computes about (0, 0), with a translation and perhaps an inverse rounded there,
//    fewer than 64 roundings of numbers of the size |a| Rm + Rd; taken as
//        256 u (|a| Rm + Rd).
//    The two together are the tolerance below. A point is captured at a distance below the capture
//    range by the exact code, so at one below range + tolerance here. The little that is added
//    covers what underflow does to squares.
// 4. Ranges. The translation is what becomes of the start pose's position, a point like those of
//    step 3 (extent and reach are the larger of the model's and its own), so its tolerance covers
//    that, too. A cosine of the turn is off by r and some roundings, a scale by r of itself; the
//    slacks below are wider than the exact code's own tolerance of limits and those roundings.
//
// Extents of 1e-60 at least and reaches of 1e60 at most keep all of this from overflow and from
// underflow that matters.

namespace ptmatch::detail {
namespace {

using Points = std::span<const rxVector<2>>;

constexpr double kUnit = std::numeric_limits<double>::epsilon() / 2.0;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kFarthest = std::numeric_limits<double>::max();
constexpr double kMaxReachOfExtent = 4194304.0;
constexpr double kSmallest = 1e-60;
constexpr double kLargest = 1e60;
constexpr double kMaxAngleError = 1.0 / 1024.0;
// Ranges are made wider by this much: the exact code's tolerance of limits and some roundings.
constexpr double kAngleSlack = 1e-6;
constexpr double kScaleSlack = 1e-8;
constexpr double kRelativeSlack = 1e-12;
static_assert(kAngleSlack > 100.0 * kLimitTolerance && kScaleSlack > 5.0 * kLimitTolerance);

double farthestFrom(const rxVector<2>& origin, Points points) {
    double farthest = 0.0;
    for (const rxVector<2>& p : points) {
        farthest = std::max(farthest, std::hypot(p.x() - origin.x(), p.y() - origin.y()));
    }
    return farthest;
}

bool areSane(double extent, double reach) {
    return extent >= kSmallest && reach <= kLargest && reach <= kMaxReachOfExtent * extent;
}

std::vector<rxVector<2>> about(const rxVector<2>& origin, Points points) {
    std::vector<rxVector<2>> moved;
    moved.reserve(points.size());
    for (const rxVector<2>& p : points) moved.push_back(p - origin);
    return moved;
}

// The bounds of a translation about the data's origin; infinite where the range does not bound it.
void setBounds(const rxRange& range, double origin, double& low, double& high) {
    low = -kInfinity;
    high = kInfinity;
    if (range.range() != rxRangeDefs::Normal) return;
    const double slack = 8.0 * kUnit;
    low = range.start() - origin - slack * (std::abs(range.start()) + std::abs(origin));
    high = range.end() - origin + slack * (std::abs(range.end()) + std::abs(origin));
}

}  // namespace

PosePrefilter::PosePrefilter(Points data, const rx_PointMatcherModel& model,
                             const rxPointMatcherRunParams& params, double captureRange,
                             const rxXform<2>& inverseStart, bool isModelAssigned, int dof)
    : isModelAssigned_(isModelAssigned), isRigid_(dof == 3), captureRange_(captureRange) {
    const std::size_t maxPairs = std::min(data.size(), model.points().size());
    for (std::size_t n = 0; n <= maxPairs; ++n) shares_.push_back(1.0 / static_cast<double>(n));
    if (maxPairs == 0) return;
    setOrigins(data, model.points());
    setRanges(params, inverseStart);
    weights_.assign(model_.size(), 1.0);
    for (std::size_t i = 0; model.isWeighted() && i < weights_.size(); ++i) {
        weights_[i] = static_cast<double>(std::max(model.weights()[i], 0L));
    }
    // A capture range that is not a number would compare as if it captured nothing.
    isOn_ = isOn_ && captureRange_ >= 0.0;
}

void PosePrefilter::setOrigins(Points data, Points model) {
    modelOrigin_ = model.front();
    dataOrigin_ = data.front();
    model_ = about(modelOrigin_, model);
    data_ = about(dataOrigin_, data);
    modelExtent_ = farthestFrom(modelOrigin_, model);
    dataExtent_ = farthestFrom(dataOrigin_, data);
    modelReach_ = farthestFrom({0.0, 0.0}, model);
    dataReach_ = farthestFrom({0.0, 0.0}, data);
    const double size = static_cast<double>(std::min(model.size(), data.size())) + 8.0;
    sumError_ = 8.0 * size * size * size * kUnit;
    isOn_ = areSane(modelExtent_, modelReach_) && areSane(dataExtent_, dataReach_);
}

void PosePrefilter::setRanges(const rxPointMatcherRunParams& params,
                              const rxXform<2>& inverseStart) {
    const rxVector<2> axis(inverseStart.matrix().element(0, 0),
                           inverseStart.matrix().element(1, 0));
    const double length = std::hypot(axis.x(), axis.y());
    startShift_ = inverseStart.trans() - modelOrigin_;
    startExtent_ = std::hypot(startShift_.x(), startShift_.y());
    startReach_ = std::hypot(inverseStart.trans().x(), inverseStart.trans().y());
    isOn_ = isOn_ && length >= kSmallest && length <= kLargest && startReach_ <= kLargest;

    axisX_ = axis.x() / length;
    axisY_ = axis.y() / length;
    const double start = params.rotationUncertainty().start().toDouble();
    const double end = params.rotationUncertainty().end().toDouble();
    // Far from 0 the angles themselves are coarse.
    if (params.rotationUncertainty().range() == rxRangeDefs::Normal && std::abs(start) < 100.0 &&
        std::abs(end) < 100.0 && start <= end) {
        const double half = (end - start) / 2.0 + kAngleSlack;
        if (half < std::numbers::pi) minCosine_ = std::cos(half) - kRelativeSlack;
        const double middle = start + (end - start) / 2.0;
        const double x = axisX_;
        axisX_ = x * std::cos(middle) + axisY_ * std::sin(middle);
        axisY_ = axisY_ * std::cos(middle) - x * std::sin(middle);
    }

    minScale_ = -kInfinity;
    maxScale_ = kInfinity;
    if (params.scaleUncertainty().range() == rxRangeDefs::Normal) {
        minScale_ = (params.scaleUncertainty().start() + 1.0 - kScaleSlack) / length;
        maxScale_ = (params.scaleUncertainty().end() + 1.0 + kScaleSlack) / length;
    }
    double lowX, lowY, highX, highY;
    setBounds(params.xTranslationUncertainty(), dataOrigin_.x(), lowX, highX);
    setBounds(params.yTranslationUncertainty(), dataOrigin_.y(), lowY, highY);
    shiftBox_ = {{lowX, lowY}, {highX, highY}};
}

PairSums PosePrefilter::sumsOf(std::size_t modelIndex, std::size_t dataIndex) const {
    const rxVector<2>& m = model_[modelIndex];
    const rxVector<2>& d = data_[dataIndex];
    const rxVector<2>& scaled = isModelAssigned_ ? d : m;
    return {1,
            m.x(),
            m.y(),
            d.x(),
            d.y(),
            d.x() * m.x() + d.y() * m.y(),
            d.y() * m.x() - d.x() * m.y(),
            scaled.x() * scaled.x() + scaled.y() * scaled.y()};
}

std::span<const std::uint32_t> PosePrefilter::takeSurvivors(long minWeight) {
    numPoses_ = size_;
    for (std::size_t k = 0; k < size_; ++k) poses_.lane[k] = static_cast<std::uint32_t>(k);
    if (isOn_) {
        estimatePoses();
        keepWithinRanges();
        const double minimum = static_cast<double>(minWeight);
        for (std::size_t i = 0; i < model_.size() && numPoses_ > 0; ++i) {
            missPoint(i);
            keepHeavy(minimum);
        }
    }
    size_ = 0;
    return std::span(poses_.lane).first(numPoses_);
}

// For each lane the pose, the error of its linear part, and how near a point must come.
template <bool kIsRigid, bool kIsInverse>
void PosePrefilter::estimatePoses() {
    const double total = std::accumulate(weights_.begin(), weights_.end(), 0.0);
    // Copies: for all that the compiler knows, a lane that is written could hold the originals.
    const double scaledExtent = kIsInverse ? dataExtent_ : modelExtent_;
    const double zError = 4.0 * sumError_ * modelExtent_ * dataExtent_;
    const double squaresError = 4.0 * sumError_ * scaledExtent * scaledExtent;
    const Tolerance tolerance = toleranceFor(modelExtent_, modelReach_);
    const double range = captureRange_ + 1e-150;
    const std::size_t count = size_;
    for (std::size_t k = 0; k < count; ++k) {
        const double share = sums_[kShare][k];
        const double mx = sums_[kModelX][k] * share;
        const double my = sums_[kModelY][k] * share;
        const double dx = sums_[kDataX][k] * share;
        const double dy = sums_[kDataY][k] * share;
        const double cosine = sums_[kCosine][k] - (sums_[kDataX][k] * mx + sums_[kDataY][k] * my);
        const double sine = sums_[kSine][k] - (sums_[kDataY][k] * mx - sums_[kDataX][k] * my);

        const double norm = std::sqrt(cosine * cosine + sine * sine);
        double factor = 1.0 / norm;
        double error = zError * factor;
        double scale = 1.0;
        if constexpr (!kIsRigid) {
            const double ofModel = sums_[kModelX][k] * mx + sums_[kModelY][k] * my;
            const double ofData = sums_[kDataX][k] * dx + sums_[kDataY][k] * dy;
            const double squares = sums_[kSquares][k] - (kIsInverse ? ofData : ofModel);
            factor = kIsInverse ? squares * factor * factor : 1.0 / squares;
            // Squares that come out negative are within their error of 0: far too large an error.
            error += squaresError / std::abs(squares);
            scale = norm * std::abs(factor);
        }
        const double c = cosine * factor;
        const double s = sine * factor;
        const double reachable = range + tolerance.at(error, scale);
        error_[k] = error;
        scale_[k] = scale;
        poses_.c[k] = c;
        poses_.s[k] = s;
        poses_.tx[k] = dx - (c * mx - s * my);
        poses_.ty[k] = dy - (s * mx + c * my);
        poses_.limit[k] = reachable * reachable * (1.0 + kRelativeSlack);
        poses_.weight[k] = total;
    }
}

void PosePrefilter::estimatePoses() {
    if (isRigid_) return estimatePoses<true, false>();  // the inverse has the same angle
    return isModelAssigned_ ? estimatePoses<false, true>() : estimatePoses<false, false>();
}

PosePrefilter::Tolerance PosePrefilter::toleranceFor(double extent, double reach) const {
    return {8.0 * sumError_, extent, dataExtent_, 256.0 * kUnit * reach,
            256.0 * kUnit * dataReach_};
}

// Marks the lanes that are surely outside a range.
void PosePrefilter::findOutside() {
    const Tolerance tolerance =
        toleranceFor(std::max(startExtent_, modelExtent_), std::max(startReach_, modelReach_));
    const double axisX = axisX_;
    const double axisY = axisY_;
    const double minCosine = minCosine_;
    const double minScale = minScale_ - std::abs(minScale_) * kRelativeSlack;
    const double maxScale = maxScale_ * (1.0 + kRelativeSlack);
    const double startX = startShift_.x();
    const double startY = startShift_.y();
    const Box box = shiftBox_;
    const std::size_t count = size_;
    for (std::size_t k = 0; k < count; ++k) {
        const double c = poses_.c[k];
        const double s = poses_.s[k];
        const double scale = scale_[k];
        const double error = error_[k];
        const double slack = 4.0 * error + kRelativeSlack;
        const double x = c * startX - s * startY + poses_.tx[k];
        const double y = s * startX + c * startY + poses_.ty[k];
        const double shift = tolerance.at(error, scale);
        // No short cuts: a branch would keep the lanes from being computed side by side.
        const double turned = c * axisX - s * axisY < scale * (minCosine - slack) ? 1.0 : 0.0;
        const double larger = scale * (1.0 - slack) > maxScale ? 1.0 : turned;
        const double smaller = scale * (1.0 + slack) < minScale ? 1.0 : larger;
        const double left = x + shift < box.low.x() ? 1.0 : smaller;
        const double right = x - shift > box.high.x() ? 1.0 : left;
        const double below = y + shift < box.low.y() ? 1.0 : right;
        outside_[k] = y - shift > box.high.y() ? 1.0 : below;
    }
}

// Drops the lanes that are surely outside a range. Lanes without a good estimate pass, and are made
// to capture everything.
void PosePrefilter::keepWithinRanges() {
    findOutside();
    std::size_t kept = 0;
    for (std::size_t k = 0; k < size_; ++k) {
        const bool isGood = error_[k] <= kMaxAngleError;
        if (isGood && outside_[k] != 0.0) continue;
        poses_.lane[kept] = static_cast<std::uint32_t>(k);
        poses_.c[kept] = isGood ? poses_.c[k] : 0.0;
        poses_.s[kept] = isGood ? poses_.s[k] : 0.0;
        poses_.tx[kept] = isGood ? poses_.tx[k] : 0.0;
        poses_.ty[kept] = isGood ? poses_.ty[k] : 0.0;
        poses_.limit[kept] = poses_.limit[k];
        if (!isGood) poses_.limit[kept] = kInfinity;
        poses_.weight[kept] = poses_.weight[k];
        ++kept;
    }
    numPoses_ = kept;
}

// Takes the weight of a model point off the lanes in which no data point is near it.
void PosePrefilter::missPoint(std::size_t modelIndex) {
    const std::size_t count = numPoses_;
    const double mx = model_[modelIndex].x();
    const double my = model_[modelIndex].y();
    for (std::size_t k = 0; k < count; ++k) {
        x_[k] = poses_.c[k] * mx - poses_.s[k] * my + poses_.tx[k];
        y_[k] = poses_.s[k] * mx + poses_.c[k] * my + poses_.ty[k];
        nearest_[k] = kFarthest;
    }
    for (const rxVector<2>& d : data_) {
        const double px = d.x();
        const double py = d.y();
        for (std::size_t k = 0; k < count; ++k) {
            const double dx = x_[k] - px;
            const double dy = y_[k] - py;
            const double squared = dx * dx + dy * dy;
            nearest_[k] = squared < nearest_[k] ? squared : nearest_[k];
        }
    }
    const double weight = weights_[modelIndex];
    for (std::size_t k = 0; k < count; ++k) {
        poses_.weight[k] -= nearest_[k] < poses_.limit[k] ? 0.0 : weight;
    }
}

void PosePrefilter::keepHeavy(double minWeight) {
    std::size_t kept = 0;
    for (std::size_t k = 0; k < numPoses_; ++k) {
        const bool isKept = poses_.weight[k] >= minWeight;
        poses_.lane[kept] = poses_.lane[k];
        poses_.c[kept] = poses_.c[k];
        poses_.s[kept] = poses_.s[k];
        poses_.tx[kept] = poses_.tx[k];
        poses_.ty[kept] = poses_.ty[k];
        poses_.limit[kept] = poses_.limit[k];
        poses_.weight[kept] = poses_.weight[k];
        kept += isKept ? 1 : 0;
    }
    numPoses_ = kept;
}

}  // namespace ptmatch::detail
