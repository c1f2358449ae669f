#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "foundation/archive.h"
#include "foundation/exception.h"
#include "foundation/export.h"
#include "foundation/image.h"
#include "foundation/persistent.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/score_hashing.h"

namespace ptmatch::detail {
struct Placement;
}

/// Scope of the grid corresponder's enumeration and of what it throws.
class PTMATCH_EXPORT rx_PointToGridCorresponderDefs {
  public:
    /// Which positions of the pattern are probed. Any other value counts as `eAllPoints`.
    enum FeatureType : std::int32_t {
        eAllPoints = 0,         ///< every point of the pattern; no empty position is looked at
        eBorderPoints = 1,      ///< points with an empty neighbour or none, and those empty places
        eWideBorderPoints = 2,  ///< the same with a second layer on each side
    };

    /// Base of the exceptions of the grid corresponder; persistent, as all errors are.
    class PTMATCH_EXPORT Errors : public rxExceptionWithString {
      public:
        Errors(const Errors&) = default;
        Errors& operator=(const Errors&) = default;
        ~Errors() override;

        [[noreturn]] void suicideAndRethrow() override = 0;

      protected:
        /// @param message  what `what()` gives, as it is.
        explicit Errors(std::string message);
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);
    };

    /// Training was given fewer than 3 positions in an image, or none in a list.
    class PTMATCH_EXPORT InsufficientModelPoints : public Errors {
      public:
        /// @param message  what `what()` gives, as it is.
        explicit InsufficientModelPoints(std::string message = std::string());
        InsufficientModelPoints(const InsufficientModelPoints&) = default;
        InsufficientModelPoints& operator=(const InsufficientModelPoints&) = default;
        ~InsufficientModelPoints() override;
        [[noreturn]] void suicideAndRethrow() override;

      protected:
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);

      private:
        static rxPersistent* make();
        static const rx_Instantiator sExemplar;
    };

    /// The positions of a pattern or of the data lie so far apart that an image of them would not
    /// fit in memory.
    class PTMATCH_EXPORT InsufficientMemory : public Errors {
      public:
        /// @param message  what `what()` gives, as it is.
        explicit InsufficientMemory(std::string message = std::string());
        InsufficientMemory(const InsufficientMemory&) = default;
        InsufficientMemory& operator=(const InsufficientMemory&) = default;
        ~InsufficientMemory() override;
        [[noreturn]] void suicideAndRethrow() override;

      protected:
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);

      private:
        static rxPersistent* make();
        static const rx_Instantiator sExemplar;
    };
};

/// How a grid corresponder is trained. A plain value.
class PTMATCH_EXPORT rx_PointToGridCorresponderTrainParams {
  public:
    /// Which positions of the pattern are probed.
    using FeatureType = rx_PointToGridCorresponderDefs::FeatureType;

    /// As its arguments say; neighbours are the four next positions unless staggered.
    explicit rx_PointToGridCorresponderTrainParams(
        bool staggered = false,
        FeatureType featureType = rx_PointToGridCorresponderDefs::eBorderPoints)
        : staggered_(staggered), featureType_(featureType) {}

    /// Whether the neighbours of a position are the four diagonal ones.
    bool staggered() const { return staggered_; }
    /// Sets whether the neighbours are the four diagonal positions.
    void staggered(bool value) { staggered_ = value; }

    /// Which positions of the pattern become probes.
    FeatureType featureType() const { return featureType_; }
    /// Sets which positions become probes; any value is kept.
    void featureType(FeatureType value) { featureType_ = value; }

    /// @throws rxArchive::UnknownVersion: another version than 1100.   @throws rxArchive::Errors: a
    /// record that cannot be read. The object then keeps its values, here and below.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar,
                                                rx_PointToGridCorresponderTrainParams& params);

  private:
    bool staggered_;
    FeatureType featureType_;
};

/// What a run of a grid corresponder may find. A plain value that checks nothing: the run does.
class PTMATCH_EXPORT rx_PointToGridCorresponderRunParams {
  public:
    /// As its arguments say; nothing is checked.
    explicit rx_PointToGridCorresponderRunParams(double accept = 0.5, double confusion = 1.0,
                                                 long maxNumResults = 1)
        : maxNumResults_(maxNumResults), accept_(accept), confusion_(confusion) {}

    /// The share of the probes that must agree, 0 to 1.
    double accept() const { return accept_; }
    /// Sets the share of the probes that must agree.
    void accept(double value) { accept_ = value; }

    /// Kept and recorded; nothing reads it.
    double confusion() const { return confusion_; }
    /// Sets what `confusion()` returns.
    void confusion(double value) { confusion_ = value; }

    /// The largest number of results, at least 1.
    long maxNumResults() const { return maxNumResults_; }
    /// Sets the largest number of results.
    void maxNumResults(long value) { maxNumResults_ = value; }

    /// Stores or loads the parameters.   @throws as the train parameters.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar,
                                                rx_PointToGridCorresponderRunParams& params);

  private:
    long maxNumResults_;
    double accept_;
    double confusion_;
};

/// One placement of the pattern. A plain value that only the corresponder fills in.
class PTMATCH_EXPORT rx_PointToGridCorresponderResult {
  public:
    /// Not found, score 0, position (0, 0).
    rx_PointToGridCorresponderResult() = default;

    /// True in every result of a run.
    bool found() const { return found_; }

    /// The share of the probes that agree, 0 to 1.
    double score() const { return score_; }

    /// What to add to a grid position of the pattern to reach that of the data.
    const rxPair<long>& position() const { return position_; }

    /// Stores or loads a result.   @throws as the train parameters; rxArchive::Errors also for a
    /// position to be stored that does not fit 32 bits.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar,
                                                rx_PointToGridCorresponderResult& result);

  private:
    friend class rx_PointToGridCorresponder;

    rx_PointToGridCorresponderResult(double score, const rxPair<long>& position)
        : found_(true), score_(score), position_(position) {}

    bool found_ = false;
    double score_ = 0.0;
    rxPair<long> position_;
};

/// What a run of a grid corresponder found, best first, and the seconds that it took.
class PTMATCH_EXPORT rx_PointToGridCorresponderResultSet {
  public:
    /// No results, time 0.
    rx_PointToGridCorresponderResultSet() = default;

    rx_PointToGridCorresponderResultSet(const rx_PointToGridCorresponderResultSet&) = default;
    rx_PointToGridCorresponderResultSet(rx_PointToGridCorresponderResultSet&&) noexcept = default;
    /// When memory runs out, the set is what it was.
    rx_PointToGridCorresponderResultSet& operator=(
        const rx_PointToGridCorresponderResultSet& other);
    rx_PointToGridCorresponderResultSet& operator=(rx_PointToGridCorresponderResultSet&&) noexcept =
        default;
    ~rx_PointToGridCorresponderResultSet() = default;

    /// Seconds that the last run took.
    double time() const { return time_; }
    /// The placements, best first.
    const std::vector<rx_PointToGridCorresponderResult>& results() const { return results_; }

    /// Stores or loads time and results.   @throws as a result.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar,
                                                rx_PointToGridCorresponderResultSet& resultSet);

  private:
    friend class rx_PointToGridCorresponder;

    double time_ = 0.0;
    std::vector<rx_PointToGridCorresponderResult> results_;
};

/// Finds where a pattern of grid positions lies among more grid positions: the whole steps by which
/// it has to be moved so that enough of it agrees.
///
/// Positions, not points: `rfPtToGridMap` turns points into them. Neither rotation nor scale is
/// searched.
///
///     rx_PointToGridCorresponder tool;
///     tool.train(patternPositions, rx_PointToGridCorresponderTrainParams(), rxXform<2>::I);
///     rx_PointToGridCorresponderResultSet found;
///     if (tool.run(dataPositions, rx_PointToGridCorresponderRunParams(0.8), found))
///         use(found.results().front().position());
///
/// Training makes probes of the pattern: positions where a point has to be, and positions where
/// none may be. A run counts, for each translation, the probes that agree.
///
/// Limits, all deliberate:
/// - The pattern may overhang the bounding rectangle of the data by two steps on each side, and the
///   data have to be no more than 4 steps smaller than the pattern.
/// - A translation is dropped when none of its first probes agrees (as many as may disagree, at
///   least one, in raster order), although the others might make up for it.
///
/// A value: copies are independent. Const members may be called by any number of threads at once.
class PTMATCH_EXPORT rx_PointToGridCorresponder {
  public:
    /// A position of the pattern that a run looks at.
    struct ProbePt {
        rxPair<long> position;  ///< relative to the smallest x and y of the pattern
        bool expected = false;  ///< whether a point has to be there, or must not be

        /// Equal positions, and both expected or neither.
        friend bool operator==(const ProbePt&, const ProbePt&) = default;
    };

    /// Untrained, with default parameters and an empty pattern.
    rx_PointToGridCorresponder() = default;

    /// Copies own their pixels. An assignment that throws leaves the target as it was.
    rx_PointToGridCorresponder(const rx_PointToGridCorresponder& other);
    rx_PointToGridCorresponder& operator=(const rx_PointToGridCorresponder& other);
    ~rx_PointToGridCorresponder() = default;

    /// Trains on the non-zero pixels of an image; a pixel's position counts the offset in.
    /// @throws rx_PointToGridCorresponderDefs::InsufficientModelPoints: fewer than 3 of them; the
    ///     tool is as it was, but for its train parameters.
    /// @throws as the training on a list.
    void train(const rxPelBuffer_const<unsigned char>& image,
               const rx_PointToGridCorresponderTrainParams& params);

    /// Trains on a list of positions, in any order, also repeated.
    /// @param gridPoints      the positions of the pattern, at least one.
    /// @param params          which neighbours count, and which positions become probes.
    /// @param clientFromGrid  kept with the pattern image, and not used otherwise.
    /// @throws rx_PointToGridCorresponderDefs::InsufficientModelPoints: the list is empty.
    /// @throws rx_PointToGridCorresponderDefs::InsufficientMemory: the bounding rectangle of the
    ///     positions holds more than 2^28 positions.   @throws std::bad_alloc.
    /// @throws rx_PelBuffer::Errors: a position does not fit 32 bits.
    /// After any of them the tool is as it was, but for its train parameters.
    /// Cost linear in the area of the bounding rectangle.
    void train(const std::vector<rxPair<long>>& gridPoints,
               const rx_PointToGridCorresponderTrainParams& params,
               const rxXform<2>& clientFromGrid);

    /// Forgets the probes; pattern and parameters stay.
    void untrain();
    /// Whether there are probes to run with.
    bool isTrained() const { return !probes_.empty(); }

    /// The parameters of the last training, also of one that failed.
    const rx_PointToGridCorresponderTrainParams& trainParams() const { return trainParams_; }

    /// 1 at each position of the pattern, 0 elsewhere; its offset is the smallest x and y.
    const rxPelBuffer<unsigned char>& pattern() const { return pattern_; }

    /// The probes, in raster order.
    const std::vector<ProbePt>& probes() const { return probes_; }

    /// Finds the translations at which the pattern agrees with the positions.
    ///
    /// @param gridPoints  positions of the data, in any order, also repeated.
    /// @param params      the share of probes that must agree, and the number of results wanted.
    /// @param results     emptied first; then the placements, highest score first and, of equal
    ///     scores, the one latest in raster order first. With `maxNumResults` 1 it is the best
    ///     one, the earliest in raster order of equal scores.
    /// @return whether there is any result. False as well for an untrained tool, an empty list, a
    ///     single position, data too small for the pattern, an acceptance that is not a number or
    ///     stands for no probe at all, and `maxNumResults` below 1.
    /// @throws rx_PointToGridCorresponderDefs::InsufficientMemory: the positions lie too far apart
    ///     (more than 2^28 positions to look at, empty stretches that cannot matter left out).
    /// @throws rx_PelBuffer::Errors: a position of the list does not fit 32 bits.
    /// @throws std::bad_alloc.   After any of them the results are empty and the time is 0.
    /// A result's position is exact also where it exceeds 32 bits, as it may when pattern and data
    /// lie at opposite ends of that range; the record of such a result cannot be stored.
    /// Cost: translations times probes, 64 translations at a time.
    bool run(const std::vector<rxPair<long>>& gridPoints,
             const rx_PointToGridCorresponderRunParams& params,
             rx_PointToGridCorresponderResultSet& results) const;

    /// The same for an image that holds 1 at each position of the data and 0 elsewhere; other
    /// pixels agree with no probe. Positions count the offset in.
    bool run(const rxPelBuffer_const<unsigned char>& image,
             const rx_PointToGridCorresponderRunParams& params,
             rx_PointToGridCorresponderResultSet& results) const;

    /// Stores or loads what was trained.
    /// @throws rxArchive::UnknownVersion: another version than 1100.
    /// @throws rxArchive::Errors: a record that cannot be read or contradicts itself (probes
    ///     outside the pattern or not in raster order, a rectangle that is not the one of the
    ///     pattern); the tool is as it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponder& tool);

  private:
    void adopt_(const rxPelBuffer<unsigned char>& pattern, const rxPelRect& bounds);
    std::vector<rx_PointToGridCorresponderResult> resultsOf_(
        const std::vector<ptmatch::detail::Placement>& placements) const;

    rx_PointToGridCorresponderTrainParams trainParams_;
    rxPelBuffer<unsigned char> pattern_;
    rxPelRect patternRect_;
    std::vector<ProbePt> probes_;
};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderTrainParams& params);
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderRunParams& params);
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderResult& result);
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderResultSet& resultSet);
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponder& tool);

/// Version, found, score, position.
template <>
struct rx_MinimalRecordSize<rx_PointToGridCorresponderResult>
    : std::integral_constant<std::uint64_t, 4 + 1 + 8 + 8> {};
