#pragma once

#include <memory>
#include <vector>

#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/image.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_result.h"
#include "ptmatch/point_matcher_run_params.h"

class rx_PointMatcherModel;
class rx_PointToGridCorresponder;
class rxTimer;

namespace ptmatch::detail {
struct MatcherAccess;
struct RankedPose;
}  // namespace ptmatch::detail

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
/// Grid mode. A pattern whose points lie on a regular grid (the dots of a calibration plate, say,
/// with some missing on purpose) is trained from an image instead, one non-zero pixel per point:
///
///     rxPelBuffer<unsigned char> plate(9, 7, 32);         // 1 where the plate has a dot, else 0
///     plate.clientFromImageXform(rxXform<2>(rxMatrix<2>(25, 0, 0, 25), rxVector<2>()));
///     matcher.train(plate);                               // dots 25 px apart
///     params.scaleUncertainty(rxRange(-0.2, 0.2));        // (0, 0) finds exact distances only
///     matcher.run(dots, params, found);
///     if (!found.results().empty()) use(found.results().front().gridToDataMap({4, 3}));
///
/// A run gives the data integer positions on a grid (`rfPtToGridMap`) and looks where the pattern
/// lies among them (`rx_PointToGridCorresponder`). Each result tells, for every position of the
/// pattern, which data point lies there. In a sparse pattern too few points are neighbours for
/// that: those are searched for by votes, as points. Sparse is a pattern of fewer than 10 points,
/// and one in which no point has more than one neighbour. Neighbours are the four next pixels; of a
/// staggered pattern, one in which no two of these are both set, the four diagonal ones.
///
/// Limits of grid mode, all deliberate:
/// - The scale uncertainty is the tolerance of the distance between neighbours, as a share of the
///   step. The default one, (0, 0), accepts distances that are exact to the last bit and nothing
///   else; measured points need a range such as (-0.2, 0.2). For a sparse pattern it is that of the
///   search by votes, as everywhere else.
/// - The start pose and the translation uncertainties are checked as in every run, and then
///   ignored: the pattern is found wherever it lies.
/// - The minimum coverage is rounded down to whole points, 22 of 24 reach one of 0.95; one that
///   comes to less than a point, 0 above all, finds nothing. Neither holds for a sparse pattern.
/// - Only neighbours in the positive directions of the grid steps lead on. When the transform of
///   the training image turns both steps to smaller coordinates, nothing may be found; nor is a
///   pattern that lies turned by more than the rotation uncertainty allows.
/// - A placement may overhang the bounding rectangle of the data's positions by two steps only on
///   each side.
/// - The fit error of a placement is the mean, over the pattern positions that hold data, of the
///   squared distance between the pixel position and the data point taken back to model
///   coordinates. It is a distance only where the transform of the training image is the identity;
///   otherwise it merely orders placements of equal coverage.
/// - For a sparse pattern, positions are those of the training image from its first column and row,
///   while `pattern()` begins at the first column and row with a set pixel. With an empty margin
///   on the left or at the top, points are therefore shifted by that margin, and those
///   shifted out of the pattern are left out: crop the image to its set pixels. The transform of
///   such a result goes from pattern positions to data, not from model coordinates; its fit error
///   is that of the point search, in data units, and so is the order of results. The middle of the
///   rotation uncertainty is added to the rotation: a range of 25 to 65 degrees finds what is
///   turned by 70 to 110. Ranges around 0, and a full one, mean what they say.
///
/// Units and numbers. Lengths may be in any unit: a scene in another one has the same results in
/// it, to the last bit where the units are a power of two apart. As squares of lengths are formed,
/// that holds for patterns between 1e-150 and 1e150 large; beyond, a run finds what it can;
/// where it finds nothing a search by votes says so by `BadParams`, an exhaustive one and one on a
/// grid that is densely filled do not.
/// Data points may lie anywhere; a search by votes refuses data that spread too far for its images.
/// A capture range below 1e-162 counts as 0 and captures nothing. A range with its start above its
/// end is allowed and holds nothing; one of angles may lie in any turn. (By votes, a reversed range
/// of scales comes down to its middle, and one of translations that is reversed by less than a cell
/// to that cell.)
///
/// A value: a copy owns its own trained model. Copying takes over what was trained but not the
/// training mode: a new copy of a matcher trained with `eExhaustiveMode` is a matcher of mode
/// `ePointToPoint`, and assignment leaves the target's mode as it was. An exhaustive matcher that
/// is assigned an untrained one therefore still calls itself trained, while everything that needs
/// the model throws `NotTrained`. A copy of a matcher trained on an image is one of mode
/// `ePointToGrid`, unless it was assigned to an exhaustive one.
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
    /// other training on points, `ePointToGrid` after training on an image.
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
    /// Cost about n log n for n points; more where many lie on a circle. Memory: at most 150 bytes
    /// per point, and 64 for loading a record of it.
    void train(const std::vector<rxVector<2>>& points, rxPointMatcherDefs::Mode mode);

    /// Trains on a pattern whose points count differently. Points of weight 0 take no part in the
    /// coverage; points of negative weight count against a pose that matches them.
    ///
    /// @param points   as above.
    /// @param weights  one per point, 32-bit; at least two above 0, the sum of those within 32
    /// bits.
    /// @param mode     as above.
    /// @throws rxPointMatcherDefs::InsufficientModelPoints  fewer than 3 points.
    /// @throws rxPointMatcherDefs::BadParams  another number of weights than of points; mode
    ///         `ePointToPoint` or `ePointToGrid`; fewer than two positive weights; a coordinate
    ///         that is not finite; a weight or the sum of the positive ones beyond 32 bits. Checked
    ///         in this order.
    void train(const std::vector<rxVector<2>>& points, const std::vector<long>& weights,
               rxPointMatcherDefs::Mode mode);

    /// Trains grid mode on an image, each non-zero pixel of which is a point of the pattern.
    ///
    /// The transform of the image, from pixels to client coordinates, holds the steps of the grid
    /// in data units. As above, after a failure the matcher is untrained. The image may be
    /// `pattern()` itself.
    ///
    /// @throws rxPointMatcherDefs::BadParams  the transform of the image is not finite, or takes a
    ///         point of a sparse pattern to coordinates that are not. A singular one is accepted,
    ///         but then no run finds anything.
    /// @throws rxPointMatcherDefs::InsufficientModelPoints  fewer than 3 pixels are set; without a
    ///         message.
    /// @throws rx_PointToGridCorresponderDefs::InsufficientMemory  the rectangle around the set
    ///         pixels holds more than 2^28.
    /// @throws rx_PelBuffer::Errors  with its offset, a set pixel lies at a position beyond 32
    /// bits. Cost linear in the pixels; of a sparse pattern, quadratic in the points.
    void train(const rxPelBuffer_const<unsigned char>& image);

    /// Forgets what was trained; the mode is `ePointToPoint` again.
    void untrain();

    /// The points trained on, valid until the next training, assignment, load or `untrain()`.
    /// @throws rxPointMatcherDefs::NotTrained unless trained on points.
    const std::vector<rxVector<2>>& modelPoints() const;

    /// The weights trained on, all 1 after a training without weights.
    /// @throws rxPointMatcherDefs::NotTrained unless `trainMode()` is `ePointToPoint`. After
    ///         training with `eExhaustiveMode` it throws, although `modelPoints()` answers.
    std::vector<long> weights() const;

    /// The trained grid pattern, cropped to its points: 1 at each of them, 0 elsewhere. Its offset,
    /// the position of its first pixel, is that of this pixel in the training image. Valid as
    /// `modelPoints()` is; copies of the image share its pixels, so leave those as they are.
    /// @throws rxPointMatcherDefs::NotTrained  (without a message) unless `trainMode()` is
    ///         `ePointToGrid`.
    const rxPelBuffer<unsigned char>& pattern() const;

    /// Finds the trained pattern among the data points.
    ///
    /// @param data       the points to search in; results refer to them by index.
    /// @param params     the poses allowed, the coverage required, the number of results wanted.
    /// @param resultSet  emptied first; then the results, best first, and the time taken.
    /// @throws rxPointMatcherDefs::NotTrained  the matcher is not trained, or records loaded one
    ///         over the other left it with parts of different grids.
    /// @throws rxPointMatcherDefs::BadParams   a coordinate of the data is not finite; the start
    ///         pose is singular, or it or its inverse not finite; a bound of a range or a capture
    ///         range in use is not a number; a parameter of a loaded record breaks the rule of its
    ///         setter; the search images would not fit in memory (a grid size far too small for
    ///         the extent of the data); the ranges ask for more than 2^31 scales and rotations;
    ///         the model lies too far from the data at the start pose. In grid mode: the
    ///         transform of the training image is not finite; for a sparse pattern, a grid size
    ///         not above 0 whose automatic switch is off; for any other, an infinite capture range
    ///         in use, steps with a length not within 1e-150 to 1e150, or a bound of the rotation
    ///         uncertainty beyond a million degrees. The environment variable PTMATCH_KERNEL names
    ///         no vote kernel of this machine (found only by a run that comes to voting).
    ///         Also when a search by votes found nothing in data that could have held it, and the
    ///         points to search for, in the model or where the start pose takes them, are neither
    ///         in one place nor 1e-150 to 1e150 apart (the larger side of their bounds).
    /// @throws rx_PointToGridCorresponderDefs::InsufficientMemory  the data spread over too large a
    ///         part of their grid (2^28 positions).
    /// @throws rxLSPointToPointFitter::Errors, rxMathError  in grid mode: the data were mapped, but
    ///         no transform can be fitted to them (all at one position, or too far out).
    /// @throws rxAttention::Interrupted  an interruption was asked for. Only the search by votes
    ///         looks, for a sparse pattern as well.
    /// @throws std::bad_alloc
    /// After any of them the results are empty and the matcher is unharmed; the time is unchanged,
    /// or 0 after a run in grid mode that failed later than at its arguments.
    ///
    /// A grid transform that is singular, or so nearly that its inverse is not finite, finds
    /// nothing. A fit that the points of a placement do not determine (one position only), or,
    /// unless the pattern is sparse, one that has no inverse, leaves the identity in its place.
    ///
    /// Cost: model points times translations (area of the data over grid size squared) times
    /// rotations times scales, whose steps shrink with the grid size, too; memory a few bytes per
    /// cell of that area. Exhaustive: about (points of the larger set + 1) to the power of the
    /// points of the smaller one. Grid mode: linear in the data, and translations of the pattern
    /// over the data's positions times its points; each result takes a pass over the data and an
    /// image of the pattern's size, 8 bytes per position.
    ///
    /// Memory: of a search by votes, at most 2 GiB for its images (`rfRunCost` tells the least),
    /// 100 bytes per data point and 400 per model point; of an exhaustive one, 64 MiB, 200 bytes
    /// per point of the larger set and some times as much of the smaller one; in grid mode 500
    /// bytes per data point, and the images. Results take the memory of those found, however many
    /// are wanted.
    void run(const std::vector<rxVector<2>>& data, const rxPointMatcherRunParams& params,
             rxPointMatcherResultSet& resultSet) const;

    /// Stores or loads what was trained. The mode is not recorded: a loaded matcher keeps the one
    /// it had, `ePointToPoint` for a new one. A part that is absent from the record (the model of
    /// an untrained matcher) leaves the target's own as it was.
    /// @throws rxArchive::Errors for a record that cannot be read or that contradicts itself; the
    ///         matcher is left as it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcher& matcher);

  private:
    friend struct ptmatch::detail::MatcherAccess;

    void runPointToPoint_(const std::vector<rxVector<2>>& data,
                          const rxPointMatcherRunParams& params,
                          rxPointMatcherResultSet& resultSet) const;
    void runExhaustive_(const std::vector<rxVector<2>>& data, const rxPointMatcherRunParams& params,
                        rxPointMatcherResultSet& resultSet) const;

    void runPtToGrid_(const std::vector<rxVector<2>>& data, const rxPointMatcherRunParams& params,
                      rxPointMatcherResultSet& resultSet) const;

    /// Each appends what it finds, best first, or nothing when it throws.
    void pointToGridMatching_(const std::vector<rxVector<2>>& data,
                              const rxPointMatcherRunParams& params,
                              rxPointMatcherResultSet& resultSet) const;
    void pointToPointMatching_(const std::vector<rxVector<2>>& data,
                               const rxPointMatcherRunParams& params,
                               rxPointMatcherResultSet& resultSet) const;

    /// Writes poses, in their order, as the results of a run in the given mode, and its time. When
    /// memory runs out, both stay as they were.
    static void setResults_(std::vector<ptmatch::detail::RankedPose> ranked,
                            rxPointMatcherDefs::Mode mode, const rxTimer& timer,
                            rxPointMatcherResultSet& resultSet);

    /// Puts results behind those of the set, or, when memory runs out, none.
    static void appendResults_(std::vector<rxPointMatcherResult> results,
                               rxPointMatcherResultSet& resultSet);

    /// The trained model, or null; null too while a loaded model is marked as untrained.
    const rx_PointMatcherModel* trainedModel_() const;

    /// The model of a nested matcher that is to be searched for as points, else null.
    const rx_PointMatcherModel* sparseModel_() const;

    /// What does not fit together in the parts of a trained grid, or null.
    const char* gridContradiction_() const;

    /// @throws rxPointMatcherDefs::NotTrained, BadParams  as `run` does in grid mode.
    void requireRunnableGrid_() const;

    /// Takes over the parts that a record brought, and keeps the others.
    void adopt_(rxPointMatcher& loaded) noexcept;

    std::unique_ptr<rx_PointMatcherModel> model_;
    rxXform<2> gridXform_;
    long numGridPoints_ = 0;
    std::unique_ptr<rx_PointToGridCorresponder> corresponder_;
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
