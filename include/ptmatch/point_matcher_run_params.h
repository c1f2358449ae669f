#pragma once

#include "foundation/angle.h"
#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/range.h"
#include "foundation/xform.h"
#include "ptmatch/point_matcher_defs.h"

/// What a run of `rxPointMatcher` may find: which poses around an expected one, how much of the
/// model has to be matched, how coarse the search is and how many results are kept.
///
///     rxPointMatcherRunParams params;                    // 15 degrees either way, no scaling
///     params.minCoverage(0.8);                           // four fifths of the model at least
///     params.rotationUncertainty(rxAngleRange::FullRange());
///     params.scaleUncertainty(rxRange(-0.02, 0.02));     // 2 % smaller to 2 % larger
///
/// A pose maps model coordinates to data coordinates. Lengths are in the units of the points that
/// they are said to be of, pixels or millimetres alike; with a start pose of scale 1 the units of
/// model and data are the same.
///
/// Each setter checks its value and throws `rxPointMatcherDefs::BadParams` for one that is not
/// accepted; the object then keeps its old value. What the setters let pass and no run can use (a
/// range with a bound that is not a number) the run refuses. Switching an automatic flag off later
/// does not check again the size that is stored beside it. A plain value: copies are independent;
/// any number of threads may read one object.
class PTMATCH_EXPORT rxPointMatcherRunParams {
  public:
    /// The defaults of the constructor below.
    rxPointMatcherRunParams() : rxPointMatcherRunParams(0.5) {}

    /// Values and defaults as shown (minCoverage 0.5 where none is given), each passed through its
    /// setter in the order of the arguments.
    /// @throws rxPointMatcherDefs::BadParams of the first setter that refuses its value.
    explicit rxPointMatcherRunParams(
        double minCoverage, const rxXform<2>& startPose = rxXform<2>(),
        const rxRange& xTranslationUncertainty = rxRange::FullRange(),
        const rxRange& yTranslationUncertainty = rxRange::FullRange(),
        const rxAngleRange& rotationUncertainty = defaultRotationUncertainty(),
        const rxRange& scaleUncertainty = rxRange(0.0, 0.0), bool autoGridSize = true,
        double gridSize = 0.0, bool autoCaptureRange = true, double captureRange = 0.0,
        long maxNumResults = 1);

    /// Smallest coverage of a result: the matched share of the model's weight, in [0, 1]. A lower
    /// value finds patterns of which more is hidden, and costs time. The exhaustive search does
    /// not use it.
    double minCoverage() const { return minCoverage_; }
    /// @throws rxPointMatcherDefs::BadParams outside [0, 1].
    void minCoverage(double value);

    /// The expected model-to-data pose; every uncertainty below is relative to it.
    rxXform<2> startPose() const { return startPose_; }
    /// Accepts any pose; one that cannot be inverted is refused by the run that uses it.
    void startPose(const rxXform<2>& pose) { startPose_ = pose; }

    /// Allowed rotation of a result against the start pose; -15 to +15 degrees at first. A full
    /// range allows every direction. The time of a run grows with the length of the range.
    rxAngleRange rotationUncertainty() const { return rotationUncertainty_; }
    /// @throws rxPointMatcherDefs::BadParams for an empty range (the message says
    /// angleUncertainty).
    void rotationUncertainty(const rxAngleRange& range);

    /// Allowed translation along x against the start pose. In the point search that of the centre
    /// of the model's bounding box, before the start pose is applied (model units); in the
    /// exhaustive search that of the result composed after the inverse start pose (data units).
    /// Full at first: wherever the data are.
    rxRange xTranslationUncertainty() const { return xTranslationUncertainty_; }
    /// @throws rxPointMatcherDefs::BadParams for an empty range.
    void xTranslationUncertainty(const rxRange& range);

    /// As `xTranslationUncertainty`, along y.
    rxRange yTranslationUncertainty() const { return yTranslationUncertainty_; }
    /// @throws rxPointMatcherDefs::BadParams for an empty range.
    void yTranslationUncertainty(const rxRange& range);

    /// Allowed change of scale against the start pose, relative: (-0.1, 0.2) is 10 % smaller to
    /// 20 % larger. Exactly (0, 0), the default, means that no change is tried.
    ///
    /// In the image-based search these are the scales that are tried; a pose found there is fitted
    /// with a scale of its own, which may lie outside, far outside where few points match. In the
    /// exhaustive search the fitted scale itself must lie within.
    rxRange scaleUncertainty() const { return scaleUncertainty_; }
    /// @throws rxPointMatcherDefs::BadParams for a range that is empty, or full, or starts below
    ///         -0.9 (tested in this order).
    void scaleUncertainty(const rxRange& range);

    /// Whether a run takes the grid size that training derived from the model.
    bool autoGridSize() const { return autoGridSize_; }
    /// Accepts either; does not look at the stored grid size.
    void autoGridSize(bool automatic) { autoGridSize_ = automatic; }

    /// Cell size of the search grid in model units, used when `autoGridSize()` is false. Halving
    /// it makes the search finer in position, rotation and scale, and much slower.
    double gridSize() const { return gridSize_; }
    /// @throws rxPointMatcherDefs::BadParams when `autoGridSize()` is false and the value is not
    ///         above 0. Zero itself is refused, unlike a capture range of zero.
    void gridSize(double value);

    /// Whether a run takes the grid size as its capture range.
    bool autoCaptureRange() const { return autoCaptureRange_; }
    /// Accepts either; does not look at the stored capture range.
    void autoCaptureRange(bool automatic) { autoCaptureRange_ = automatic; }

    /// Only data points nearer than this to a mapped model point, in data units, are matched to it;
    /// used when `autoCaptureRange()` is false.
    double captureRange() const { return captureRange_; }
    /// @throws rxPointMatcherDefs::BadParams when `autoCaptureRange()` is false and the value is
    ///         not 0 or above. Zero is accepted, unlike a grid size of zero.
    void captureRange(double value);

    /// Largest number of results of a run.
    long maxNumResults() const { return maxNumResults_; }
    /// @throws rxPointMatcherDefs::BadParams below 1.
    void maxNumResults(long count);

    /// Equal in every field. `minCoverage`, `gridSize` and `captureRange` are compared with an
    /// absolute tolerance of 1e-15, everything else exactly.
    bool operator==(const rxPointMatcherRunParams& other) const;

    /// Stores or loads the parameters. Loading takes the values as they are recorded, without the
    /// checks of the setters; a run refuses what it cannot work with.
    /// @throws rxArchive::Errors for a record that cannot be read; the parameters keep their
    /// values.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcherRunParams& params);

  private:
    static rxAngleRange defaultRotationUncertainty();

    double minCoverage_ = 0.5;
    rxXform<2> startPose_;
    rxAngleRange rotationUncertainty_;
    rxRange xTranslationUncertainty_;
    rxRange yTranslationUncertainty_;
    rxRange scaleUncertainty_;
    bool autoGridSize_ = true;
    double gridSize_ = 0.0;
    bool autoCaptureRange_ = true;
    double captureRange_ = 0.0;
    long maxNumResults_ = 1;
};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcherRunParams& params);
