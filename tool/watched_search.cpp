#include "watched_search.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ostream>

#include "input_error.h"
#include "number_text.h"
#include "progress_watch.h"
#include "ptmatch/run_watch.h"

namespace ptmatch::tool {

rxPointMatcherResultSet watchedSearch(const rxPointMatcher& matcher, const PointTable& data,
                                      const rxPointMatcherRunParams& params,
                                      const std::string& label, double timeLimit) {
    const bool tellsShare = matcher.trainMode() != rxPointMatcherDefs::eExhaustiveMode;
    std::atomic<double> share{0.0};
    rxRunLimits limits;
    limits.timeLimit = timeLimit;
    limits.onProgress = [&share](double fraction) { share = fraction; };
    const ProgressWatch watch([&](double seconds) {
        return label + (tellsShare ? progressText(share, seconds) : elapsedText(seconds));
    });
    rxPointMatcherResultSet results;
    try {
        rfRunWatched(matcher, data.points, params, results, limits);
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(std::string(trimmed(error.what())));
    }
    return results;
}

void noteLongSearch(const PointTable& model, const PointTable& data, std::ostream& notes) {
    constexpr double kManyAssignments = 1e9;
    const auto [smaller, larger] = std::minmax({model.points.size(), data.points.size()});
    const double assignments =
        std::pow(static_cast<double>(larger) + 1.0, static_cast<double>(smaller));
    if (assignments <= kManyAssignments) return;
    notes << "ptmatch: note: --exhaustive will try " << aboutText(assignments)
          << " assignments; this may not end" << std::endl;
}

}  // namespace ptmatch::tool
