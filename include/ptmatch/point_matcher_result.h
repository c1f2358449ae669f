#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/image.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/point_matcher_defs.h"

namespace ptmatch::detail {
struct MatcherAccess;
}

/// One pose that a run of `rxPointMatcher` found: where the model lies in the data, and which data
/// point each model point was matched to.
///
///     const rxPointMatcherResult& best = resultSet.results().front();
///     for (std::size_t i = 0; i < model.size(); ++i) {
///         const long match = best.modelToDataMap()[i];
///         if (match >= 0) drawLine(best.modelToDataXform() * model[i], data[match]);
///     }
///
/// A plain value that only the matcher fills in. Copies are independent, except that copies of the
/// image of a grid-mode result share its pixels, which nobody writes any more.
class PTMATCH_EXPORT rxPointMatcherResult {
  public:
    /// The identity pose with an empty map, coverage and error 0, mode `ePointToPoint`.
    rxPointMatcherResult() = default;

    rxPointMatcherResult(const rxPointMatcherResult&) = default;
    rxPointMatcherResult(rxPointMatcherResult&&) noexcept = default;
    /// When memory runs out, the result is what it was.
    rxPointMatcherResult& operator=(const rxPointMatcherResult& other);
    rxPointMatcherResult& operator=(rxPointMatcherResult&&) noexcept = default;
    ~rxPointMatcherResult() = default;

    /// The method that found the result: `ePointToPoint`, `ePointToGrid` or `eExhaustiveMode`.
    rxPointMatcherDefs::Mode runMode() const { return runMode_; }

    /// The pose: maps model coordinates to data coordinates. Available in every mode. Of a sparse
    /// grid pattern it maps positions of the pattern instead.
    const rxXform<2>& modelToDataXform() const { return modelToDataXform_; }

    /// For each model point, in the order of training, the index of its data point; negative
    /// (-1 from this library) when it found none.
    /// @throws rxPointMatcherDefs::NotRun unless the mode is `ePointToPoint` or `eExhaustiveMode`.
    const std::vector<long>& modelToDataMap() const;

    /// The index of the data point at a position of the trained grid pattern, -1 where none fell.
    /// @param position  a pixel of `rxPointMatcher::pattern()`, its offset counted in.
    /// @throws rxPointMatcherDefs::NotRun unless the mode is `ePointToGrid`.
    /// @throws rx_PelBuffer::Errors when the position is outside the pattern.
    long gridToDataMap(const rxPair<long>& position) const;

    /// The matched share of the model, in [0, 1]: of its weight where it is weighted, else of its
    /// points; in grid mode, the share of the pattern's points that have a data point.
    double coverage() const { return coverage_; }

    /// Root mean square of the distances, in data units, between the mapped model points and their
    /// data points; 0 when none is matched. Weights play no part, save in the exhaustive search.
    /// In grid mode, unless the pattern is sparse, it is a mean of squares in the plane of the
    /// pattern instead, see `rxPointMatcher`.
    double fitError() const { return fitError_; }

    /// Stores or loads a result.
    /// @throws rxArchive::Errors for a record that cannot be read; the result keeps its values.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcherResult& result);

  private:
    friend class rxPointMatcher;

    void setModelToDataXform_(const rxXform<2>& pose) { modelToDataXform_ = pose; }
    void setModelToDataMap_(std::vector<long> map) { modelToDataMap_ = std::move(map); }
    void setCoverage_(double coverage) { coverage_ = coverage; }
    void setFitError_(double error) { fitError_ = error; }

    rxPointMatcherDefs::Mode runMode_ = rxPointMatcherDefs::ePointToPoint;
    rxXform<2> modelToDataXform_;
    std::vector<long> modelToDataMap_;
    double coverage_ = 0.0;
    double fitError_ = 0.0;
    rxPelBuffer_const<long> gridToDataMap_;
};

/// What a run of `rxPointMatcher` found, best first, and the time it took.
///
/// Give the same object to one run after the other: each run replaces what it holds.
class PTMATCH_EXPORT rxPointMatcherResultSet {
  public:
    /// No results, time 0.
    rxPointMatcherResultSet() = default;

    rxPointMatcherResultSet(const rxPointMatcherResultSet&) = default;
    rxPointMatcherResultSet(rxPointMatcherResultSet&&) noexcept = default;
    /// When memory runs out, the set is what it was.
    rxPointMatcherResultSet& operator=(const rxPointMatcherResultSet& other);
    rxPointMatcherResultSet& operator=(rxPointMatcherResultSet&&) noexcept = default;
    ~rxPointMatcherResultSet() = default;

    /// The results: highest coverage first, smaller fit error first where the coverage is equal. Of
    /// a sparse grid pattern: in the order of the coverage that the search of its points had.
    const std::vector<rxPointMatcherResult>& results() const { return results_; }

    /// Seconds that the last run took. A run that could not reach the wanted coverage with so few
    /// data points, and one that failed, leave the time of the run before; one that failed in grid
    /// mode may leave 0.
    double time() const { return time_; }

    /// Stores or loads a result set.
    /// @throws rxArchive::Errors for a record that cannot be read; the set keeps its values.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcherResultSet& resultSet);

  private:
    friend class rxPointMatcher;
    friend struct ptmatch::detail::MatcherAccess;

    std::vector<rxPointMatcherResult>& getResults_() { return results_; }
    void setTime_(double seconds) { time_ = seconds; }

    std::vector<rxPointMatcherResult> results_;
    double time_ = 0.0;
};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcherResult& result);
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPointMatcherResultSet& resultSet);

/// Version, mode, pose, empty map, coverage, error; and an image, which takes at least a byte.
template <>
struct rx_MinimalRecordSize<rxPointMatcherResult>
    : std::integral_constant<std::uint64_t, 4 + 4 + 48 + 5 + 8 + 8 + 1> {};
