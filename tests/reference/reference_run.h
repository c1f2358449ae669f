#pragma once

#include <vector>

#include "foundation/range.h"
#include "foundation/xform.h"
#include "ptmatch/ppmatch.h"
#include "reference/reference_model.h"
#include "reference/reference_search.h"

namespace ptmatch::reference {

struct Result {
    rxPointMatcherDefs::Mode runMode = rxPointMatcherDefs::ePointToPoint;
    rxXform<2> modelToDataXform;
    std::vector<long> modelToDataMap;
    double coverage = 0.0;
    double fitError = 0.0;
};

struct RunReport {
    std::vector<Result> results;
    bool isTimed = false;                   ///< False: the run ended before its clock was started.
    long polls = 0;                         ///< How often the run asked whether it is to go on.
    std::vector<CoarseList::Item> coarse;   ///< Coarse candidates, best first.
    std::vector<CoarseList::Item> revoted;  ///< Those of the second vote, best first.
};

/// A run of a matcher trained on points. The arguments are taken to be sound: finite, and of sizes
/// that can be held.
[[nodiscard]] RunReport run(const Model& model, const Points& data,
                            const rxPointMatcherRunParams& params);

/// A run of a matcher trained for the exhaustive search.
[[nodiscard]] RunReport runExhaustively(const Model& model, const Points& data,
                                        const rxPointMatcherRunParams& params);

/// Coverage descending, then fit error ascending; complete ties keep their order.
void sortResults(std::vector<Result>& results);

/// Whether the range holds the value, given or taken a rounding error at either end.
[[nodiscard]] bool isWithinForgiving(const rxRange& range, double value);
[[nodiscard]] bool isWithinForgiving(const rxAngleRange& range, rxRadian angle);

}  // namespace ptmatch::reference
