#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"

class rx_PointMatcherModel;
class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// Sums over the pairs of an assignment, in plain doubles and about an origin of either set: good
/// for an estimate of the pose, not for the pose itself.
struct PairSums {
    std::size_t numPairs = 0;
    double modelX = 0.0;
    double modelY = 0.0;
    double dataX = 0.0;
    double dataY = 0.0;
    double cosine = 0.0;   ///< data . model
    double sine = 0.0;     ///< model x data
    double squares = 0.0;  ///< of the points of the set that the fit scales

    PairSums& operator+=(const PairSums& other) {
        numPairs += other.numPairs;
        modelX += other.modelX;
        modelY += other.modelY;
        dataX += other.dataX;
        dataY += other.dataY;
        cosine += other.cosine;
        sine += other.sine;
        squares += other.squares;
        return *this;
    }
};

/// Tells of a batch of assignments which of them cannot become a result: those whose pose surely
/// lies outside the uncertainties, or surely brings too little weight within the capture range.
///
/// It estimates the poses side by side in plain doubles, and bounds how far an estimate can be from
/// the pose that the exact code would compute (see pose_prefilter.cpp); what is within that bound
/// of a limit passes. So it never drops what the exact code would keep, and may keep what that
/// drops. It passes everything when coordinates are so extreme that the bound would not hold, or
/// all points of a set coincide.
class PosePrefilter {
  public:
    static constexpr std::size_t kBatch = 256;

    /// @param inverseStart     of the start pose, as the exact code has it.
    /// @param isModelAssigned  whether the exact fit takes data to model, and is then inverted.
    /// @param dof              3 or 4, as of the exact fit.
    PosePrefilter(std::span<const rxVector<2>> data, const rx_PointMatcherModel& model,
                  const rxPointMatcherRunParams& params, double captureRange,
                  const rxXform<2>& inverseStart, bool isModelAssigned, int dof);

    /// The sums of one pair.
    PairSums sumsOf(std::size_t modelIndex, std::size_t dataIndex) const;

    /// Puts an assignment, two pairs at least, into the batch; there must be room for it. Takes the
    /// sums in two parts and adds them on their way into the lanes.
    void add(const PairSums& a, const PairSums& b) {
        sums_[kShare][size_] = shares_[a.numPairs + b.numPairs];
        sums_[kModelX][size_] = a.modelX + b.modelX;
        sums_[kModelY][size_] = a.modelY + b.modelY;
        sums_[kDataX][size_] = a.dataX + b.dataX;
        sums_[kDataY][size_] = a.dataY + b.dataY;
        sums_[kCosine][size_] = a.cosine + b.cosine;
        sums_[kSine][size_] = a.sine + b.sine;
        sums_[kSquares][size_] = a.squares + b.squares;
        ++size_;
    }
    std::size_t size() const { return size_; }
    bool isFull() const { return size_ == kBatch; }

    /// Empties the batch. The numbers, ascending, of those of its assignments that may lie within
    /// the uncertainties and capture a weight of `minWeight` or more; valid until the next call.
    std::span<const std::uint32_t> takeSurvivors(long minWeight);

  private:
    using Lanes = std::array<double, kBatch>;

    // Of a lane; kShare is one over the number of pairs.
    enum Sum { kShare, kModelX, kModelY, kDataX, kDataY, kCosine, kSine, kSquares, kNumSums };

    // Of a lane that has passed so far: the estimated pose, x -> (c, s) x + (tx, ty) in complex
    // numbers, and what is left of the weight when every point that it surely misses is taken off.
    struct Poses {
        std::array<std::uint32_t, kBatch> lane;
        Lanes c, s, tx, ty;
        Lanes limit;   // squared distance within which a point may be captured
        Lanes weight;  // an upper bound
    };

    struct Box {
        rxVector<2> low;
        rxVector<2> high;
    };

    // How far off the place of a point may be that lies within an extent and a reach.
    struct Tolerance {
        double ofSums;
        double extent;
        double dataExtent;
        double ofReach;
        double ofDataReach;

        double at(double error, double scale) const {
            return (4.0 * error + ofSums) * (scale * extent + dataExtent) +
                   (scale * ofReach + ofDataReach);
        }
    };

    void setOrigins(std::span<const rxVector<2>> data, std::span<const rxVector<2>> model);
    void setRanges(const rxPointMatcherRunParams& params, const rxXform<2>& inverseStart);
    template <bool kIsRigid, bool kIsInverse>
    void estimatePoses();
    void estimatePoses();
    Tolerance toleranceFor(double extent, double reach) const;
    void findOutside();
    void keepWithinRanges();
    void missPoint(std::size_t modelIndex);
    void keepHeavy(double minWeight);

    bool isOn_ = false;
    bool isModelAssigned_;
    bool isRigid_;
    rxVector<2> modelOrigin_;
    rxVector<2> dataOrigin_;
    std::vector<rxVector<2>> model_;  // about its origin
    std::vector<rxVector<2>> data_;   // about its origin
    std::vector<double> weights_;     // negative ones are 0 here
    double captureRange_;
    std::vector<double> shares_;  // [n]: 1 / n

    // Bounds; see pose_prefilter.cpp.
    double modelExtent_ = 0.0;
    double dataExtent_ = 0.0;
    double modelReach_ = 0.0;
    double dataReach_ = 0.0;
    double sumError_ = 0.0;

    // The ranges as conditions on the estimate.
    double axisX_ = 1.0;  // the image of the unit x axis under the inverse start pose, normalised
    double axisY_ = 0.0;  // and turned back by the middle of the rotation range
    double minCosine_ = -4.0;
    double minScale_ = 0.0;
    double maxScale_ = 0.0;
    rxVector<2> startShift_;  // where the inverse start pose takes the origin, about modelOrigin_
    double startExtent_ = 0.0;
    double startReach_ = 0.0;
    Box shiftBox_;

    std::size_t size_ = 0;
    std::array<Lanes, kNumSums> sums_;
    Lanes error_;  // of the linear part, relative
    Lanes scale_;
    Lanes outside_;  // 1 or 0
    Poses poses_;
    std::size_t numPoses_ = 0;
    Lanes nearest_;
    Lanes x_;
    Lanes y_;
};

}  // namespace ptmatch::detail
