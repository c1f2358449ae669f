#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/export.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"

/// Scope of the names of `rfWhyNot`.
class PTMATCH_EXPORT rxWhyNotDefs {
  public:
    /// What kept a run from finding anything, in short.
    enum Reason : std::int32_t {
        eFound = 0,            ///< nothing did: there are results
        eTooFewData = 1,       ///< all the data together could not reach the minimum coverage
        eNothingToSearch = 2,  ///< no data, none within the translations, or no grid size
        eNoCandidate = 3,      ///< no pose brings two model points to data; in grid mode: no grid
        eCoverage = 4,         ///< the best candidate has less than the minimum coverage
        ePose = 5,             ///< the best candidate has the coverage, but its pose is not allowed
        eMissed = 6,           ///< only a wider search comes upon a candidate that is allowed
    };
};

/// A candidate that a run does not return, and why.
struct PTMATCH_EXPORT rxNearestMiss {
    rxXform<2> modelToDataXform;        ///< as that of a result
    double coverage = 0.0;              ///< as that of a result
    double fitError = 0.0;              ///< as that of a result
    bool isBelowCoverage = false;       ///< less than the minimum coverage is matched
    bool isOutsideTranslation = false;  ///< exhaustive runs only
    bool isOutsideRotation = false;     ///< turned by more than the rotation uncertainty allows
    bool isOutsideScale = false;        ///< exhaustive runs only
    bool isSingular = false;            ///< the pose cannot be inverted
    /// It may be returned, but others are better and the number of results is limited.
    bool isBeyondCount = false;
};

/// Why a run finds nothing, or not what it should.
struct PTMATCH_EXPORT rxWhyNot {
    /// In short.
    rxWhyNotDefs::Reason reason = rxWhyNotDefs::eFound;
    /// Sizes in effect and the size of the lattice.
    rxRunCost cost;
    /// Whether the candidates below are those of a wider search than the run's: one without minimum
    /// coverage, when the run finds nothing; always of exhaustive runs and in grid mode.
    bool isWidened = false;

    long numReturned = 0;    ///< results of the run
    long numCandidates = 0;  ///< fitted poses that were looked at

    // How many of the candidates each limit excludes. Several may exclude the same one.
    long numBelowCoverage = 0;       ///< matched to less than the minimum coverage
    long numOutsideTranslation = 0;  ///< exhaustive runs only
    long numOutsideRotation = 0;     ///< turned by more than the rotation uncertainty allows
    long numOutsideScale = 0;        ///< exhaustive runs only
    long numSingular = 0;            ///< with a pose that cannot be inverted
    long numBeyondCount = 0;         ///< allowed, but more than the wanted number of results

    double bestCoverage = 0.0;  ///< of all candidates, returned or not
    /// The candidate of the highest coverage that is not returned.
    std::optional<rxNearestMiss> nearestMiss;
};

/// Tells why a run of these data with these parameters finds nothing, or not the expected.
///
/// An addition beside the matcher: it repeats the run's search on its own and looks at what the run
/// drops. The run itself is as it was, and keeps no books.
///
///     matcher.run(data, params, found);
///     if (found.results().empty()) {
///         const rxWhyNot why = rfWhyNot(matcher, data, params);
///         std::clog << "best coverage " << why.bestCoverage << " of " << params.minCoverage();
///     }
///
/// A search by votes looks within its limits only: what lies beyond the translations and scales of
/// its lattice never becomes a candidate. Relax these one at a time and ask again. When the run
/// finds nothing, the search is repeated without minimum coverage, to tell how much is reached.
///
/// Exhaustive runs: the candidates are the best 1,000 assignments (or as many as results are
/// wanted) without limits on translation, rotation and scale; a scale uncertainty of (0, 0), which
/// chooses a fit without scale, stays. Grid mode of dense patterns: the candidates are all
/// placements down to one point; how the data are mapped onto the grid is not looked into, and
/// without any the reason is `eNoCandidate`.
///
/// @throws as `rxPointMatcher::run`, also for sizes and ranges that a run with too few data does
/// not
///         come to.
/// Cost: the run again, and once more if it finds nothing, which without a minimum coverage may
/// take several times as long. `rxAttention` interrupts it where it interrupts the run.
PTMATCH_EXPORT rxWhyNot rfWhyNot(const rxPointMatcher& matcher,
                                 const std::vector<rxVector<2>>& data,
                                 const rxPointMatcherRunParams& params);
