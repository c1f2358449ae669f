#pragma once

#include <vector>

#include "explain_report.h"
#include "run_options.h"

namespace ptmatch::tool {

/// Options of a run of which some are others than the user's, with the words for these.
class RelaxedRun {
  public:
    explicit RelaxedRun(RunOptions run) : run_(run) {}

    const RunOptions& run() const { return run_; }
    /// The changed ones, as they stand on a command line.
    const std::vector<OptionValue>& options() const { return options_; }
    /// Whether an option of this limit is among them.
    bool changes(Limit limit) const;

    RelaxedRun& minCoverage(double value);
    RelaxedRun& rotation(const Interval& value);
    RelaxedRun& scale(const Interval& value);
    RelaxedRun& xTranslation(const Interval& value);
    RelaxedRun& yTranslation(const Interval& value);
    RelaxedRun& captureRange(double value);
    RelaxedRun& gridSize(double value);
    RelaxedRun& maxResults(long value);

  private:
    void note_(const char* option, const std::string& value);

    RunOptions run_;
    std::vector<OptionValue> options_;
};

/// "-15,15" or "full"
std::string intervalText(const Interval& interval);

/// The smallest interval that holds both.
Interval united(const Interval& a, const Interval& b);

/// `interval` with `value` inside, by `margin` away from the bound that moves, which becomes a
/// multiple of 1/`perUnit` beyond that.
Interval including(const Interval& interval, double value, double margin, double perUnit);

/// "36.67 is outside -15 to 15", or "1.159 is not 1"; with as many digits as it takes to see it.
std::string outsideText(double value, double low, double high, const std::string& unit = {});

/// The turn that is the same as `deg` and lies nearest to the middle of `interval`.
double turnNearest(double deg, const Interval& interval);

}  // namespace ptmatch::tool
