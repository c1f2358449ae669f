#pragma once

#include <memory>
#include <vector>

#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_result.h"
#include "ptmatch/point_matcher_run_params.h"

class rx_PointMatcherModel;
class rxTimer;

namespace ptmatch::detail {
struct RankedPose;
}

/// Finds a known pattern of 2-D points among measured points: its position, rotation and scale, and
/// which measured point is which point of the pattern.
///
/// Train once on the pattern, then run as often as there are data:
///
///     rxPointMatcher matcher;
///     matcher.train(modelPoints, rxPointMatcherDefs::eAutoDetect);
///     rxPointMatcherResultSet found;
///     matcher.run(dataPoints, rxPointMatcherRunParams(), found);
///     if (!found.results().empty()) use(found.results().front().modelToDataXform());
///
/// Points may be missing, displaced a little, or surrounded by many that do not belong to the
/// pattern. Shear and perspective are outside what a run can find. Two methods stand behind `run`,
/// chosen at training: a search by votes for sets of any size, and an exhaustive one
/// (`eExhaustiveMode`) that tries every assignment, about (points of the larger set + 1) to the
/// power of the points of the smaller one, and suits sets of up to about six points.
///
/// A value: a copy owns its own trained model. Copying takes over what was trained but not the
/// training mode: a new copy of a matcher trained with `eExhaustiveMode` is a matcher of mode
/// `ePointToPoint`, and assignment leaves the target's mode as it was. An exhaustive matcher that
/// is assigned an untrained one therefore still calls itself trained, while everything that needs
/// the model throws `NotTrained`.
///
/// Const members may be called by any number of threads at once.
class PTMATCH_EXPORT rxPointMatcher {
  public:
    /// An untrained matcher.
    rxPointMatcher();

    /// Deep copies, without the mode. An assignment that throws leaves the target as it was.
    rxPointMatcher(const rxPointMatcher& other);
    rxPointMatcher& operator=(const rxPointMatcher& other);
    ~rxPointMatcher();

    /// True after a training that succeeded, and always while the mode is `eExhaustiveMode`.
    bool isTrained() const;

    /// How `run` will work: `eExhaustiveMode` after training with it, `ePointToPoint` after any
    /// other training on points.
    /// @throws rxPointMatcherDefs::NotTrained for an untrained matcher.
    rxPointMatcherDefs::Mode trainMode() const;

    /// Trains on a pattern whose points all count the same.
    ///
    /// Whatever was trained before is gone as soon as training starts: after a failure the matcher
    /// is untrained. Points that coincide, even all of them, are accepted, but say little: where
    /// every point has a double, a run needs an explicit grid size to find anything.
    ///
    /// @param points  the pattern, at least 3 points, in any units; may be `modelPoints()` itself.
    /// @param mode    `eAutoDetect` or `eExhaustiveMode`.
    /// @throws rxPointMatcherDefs::InsufficientModelPoints  fewer than 3 points.
    /// @throws rxPointMatcherDefs::BadParams  mode `ePointToPoint` or `ePointToGrid`; a coordinate
    ///         that is not finite. Checked in this order.
    /// Cost quadratic in the number of points.
    void train(const std::vector<rxVector<2>>& points, rxPointMatcherDefs::Mode mode);

    /// Trains on a pattern whose points count differently. Points of weight 0 take no part in the
    /// coverage; points of negative weight count against a pose that matches them.
    ///
    /// @param weights  one per point, 32-bit; at least two above 0, the sum of those within 32
    /// bits.
    /// @throws rxPointMatcherDefs::InsufficientModelPoints  fewer than 3 points.
    /// @throws rxPointMatcherDefs::BadParams  another number of weights than of points; mode
    ///         `ePointToPoint` or `ePointToGrid`; fewer than two positive weights; a coordinate
    ///         that is not finite; a weight or the sum of the positive ones beyond 32 bits. Checked
    ///         in this order.
    void train(const std::vector<rxVector<2>>& points, const std::vector<long>& weights,
               rxPointMatcherDefs::Mode mode);

    /// Forgets what was trained; the mode is `ePointToPoint` again.
    void untrain();

    /// The points trained on, valid until the next training, assignment, load or `untrain()`.
    /// @throws rxPointMatcherDefs::NotTrained unless trained on points.
    const std::vector<rxVector<2>>& modelPoints() const;

    /// The weights trained on, all 1 after a training without weights.
    /// @throws rxPointMatcherDefs::NotTrained unless `trainMode()` is `ePointToPoint`. After
    ///         training with `eExhaustiveMode` it throws, although `modelPoints()` answers.
    std::vector<long> weights() const;

    /// Finds the trained pattern among the data points.
    ///
    /// @param data       the points to search in; results refer to them by index.
    /// @param params     the poses allowed, the coverage required, the number of results wanted.
    /// @param resultSet  emptied first; then the results, best first, and the time taken.
    /// @throws rxPointMatcherDefs::NotTrained  the matcher is not trained.
    /// @throws rxPointMatcherDefs::BadParams   a coordinate of the data is not finite; the start
    ///         pose is singular, or it or its inverse not finite; a bound of a range or a capture
    ///         range in use is not a number; a parameter of a loaded record breaks the rule of its
    ///         setter; the search images would not fit in memory (a grid size far too small for
    ///         the extent of the data); the ranges ask for more than 2^31 scales and rotations;
    ///         the model lies too far from the data at the start pose.
    /// @throws rxAttention::Interrupted  an interruption was asked for; the exhaustive search never
    ///         looks.
    /// @throws std::bad_alloc
    /// After any of them the results are empty, the time is unchanged and the matcher is unharmed.
    ///
    /// Cost: model points times translations (area of the data over grid size squared) times
    /// rotations times scales, whose steps shrink with the grid size, too; memory a few bytes per
    /// cell of that area. Exhaustive: about (points of the larger set + 1) to the power of the
    /// points of the smaller one.
    void run(const std::vector<rxVector<2>>& data, const rxPointMatcherRunParams& params,
             rxPointMatcherResultSet& resultSet) const;

    /// Stores or loads what was trained. The mode is not recorded: a loaded matcher keeps the one
    /// it had, `ePointToPoint` for a new one. A part that is absent from the record (the model of
    /// an untrained matcher) leaves the target's own as it was.
    /// @throws rxArchive::Errors for a record that cannot be read, that contradicts itself, or that
    ///         holds a trained grid, which this version cannot read; the matcher is left as it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcher& matcher);

  private:
    void runPointToPoint_(const std::vector<rxVector<2>>& data,
                          const rxPointMatcherRunParams& params,
                          rxPointMatcherResultSet& resultSet) const;
    void runExhaustive_(const std::vector<rxVector<2>>& data, const rxPointMatcherRunParams& params,
                        rxPointMatcherResultSet& resultSet) const;

    /// Writes poses, in their order, as the results of a run in the given mode, and its time. When
    /// memory runs out, both stay as they were.
    static void setResults_(std::vector<ptmatch::detail::RankedPose> ranked,
                            rxPointMatcherDefs::Mode mode, const rxTimer& timer,
                            rxPointMatcherResultSet& resultSet);

    /// The trained model, or null; null too while a loaded model is marked as untrained.
    const rx_PointMatcherModel* trainedModel_() const;

    /// @throws rxArchive::Errors when the parts, freshly loaded, do not fit together.
    void requireConsistent_() const;

    /// Takes over the parts that a record brought, and keeps the others.
    void adopt_(rxPointMatcher& loaded) noexcept;

    std::unique_ptr<rx_PointMatcherModel> model_;
    rxXform<2> gridXform_;
    long numGridPoints_ = 0;
    std::unique_ptr<rxPointMatcher> gridMatcher_;
    std::vector<rxPair<long>> gridPositions_;
    rxPointMatcherDefs::Mode mode_ = rxPointMatcherDefs::ePointToPoint;
};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcher& matcher);

/// Does nothing, and leaves its arguments as they are; kept for callers that expect it.
PTMATCH_EXPORT void rfExtractPointsFromPointMatcherResults(
    const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
    const rxPointMatcherResult& result, const std::vector<rxVector<2>>& modelPoints,
    const std::vector<rxVector<2>>& dataPoints);
