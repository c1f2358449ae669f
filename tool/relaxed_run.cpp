#include "relaxed_run.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "number_text.h"

namespace ptmatch::tool {

void RelaxedRun::note_(const char* option, const std::string& value) {
    std::erase_if(options_, [&](const OptionValue& old) { return old.option == option; });
    options_.push_back({option, value});
}

bool RelaxedRun::changes(Limit limit) const {
    const std::pair<Limit, const char*> named[] = {{Limit::kCoverage, "--min-coverage"},
                                                   {Limit::kRotation, "--rotation"},
                                                   {Limit::kScale, "--scale"},
                                                   {Limit::kTranslation, "--x-translation"},
                                                   {Limit::kTranslation, "--y-translation"},
                                                   {Limit::kCaptureRange, "--capture-range"},
                                                   {Limit::kGridSize, "--grid-size"},
                                                   {Limit::kCount, "--max-results"}};
    return std::ranges::any_of(named, [&](const auto& name) {
        return name.first == limit && std::ranges::any_of(options_, [&](const OptionValue& option) {
                   return option.option == name.second;
               });
    });
}

RelaxedRun& RelaxedRun::minCoverage(double value) {
    run_.minCoverage = value;
    note_("--min-coverage", shortText(value));
    return *this;
}

RelaxedRun& RelaxedRun::rotation(const Interval& value) {
    run_.rotationDeg = value;
    note_("--rotation", intervalText(value));
    return *this;
}

RelaxedRun& RelaxedRun::scale(const Interval& value) {
    run_.scale = value;
    note_("--scale", intervalText(value));
    return *this;
}

RelaxedRun& RelaxedRun::xTranslation(const Interval& value) {
    run_.xTranslation = value;
    note_("--x-translation", intervalText(value));
    return *this;
}

RelaxedRun& RelaxedRun::yTranslation(const Interval& value) {
    run_.yTranslation = value;
    note_("--y-translation", intervalText(value));
    return *this;
}

RelaxedRun& RelaxedRun::captureRange(double value) {
    run_.captureRange = value;
    note_("--capture-range", shortText(value));
    return *this;
}

RelaxedRun& RelaxedRun::gridSize(double value) {
    run_.gridSize = value;
    note_("--grid-size", shortText(value));
    return *this;
}

RelaxedRun& RelaxedRun::maxResults(long value) {
    run_.maxResults = value;
    note_("--max-results", std::to_string(value));
    return *this;
}

std::string intervalText(const Interval& interval) {
    if (interval.isFull) return "full";
    return shortText(interval.low) + "," + shortText(interval.high);
}

Interval united(const Interval& a, const Interval& b) {
    if (a.isFull || b.isFull) return Interval::full();
    return {std::min(a.low, b.low), std::max(a.high, b.high)};
}

Interval including(const Interval& interval, double value, double margin, double perUnit) {
    constexpr double kRounding = 1e-6;  // of a fit; the margin is far larger
    if (interval.isFull) return interval;
    Interval wider = interval;
    if (value - margin < interval.low) {
        wider.low =
            std::min(interval.low, std::floor((value - margin) * perUnit + kRounding) / perUnit);
    }
    if (value + margin > interval.high) {
        wider.high =
            std::max(interval.high, std::ceil((value + margin) * perUnit - kRounding) / perUnit);
    }
    return wider;
}

std::string outsideText(double value, double low, double high, const std::string& unit) {
    constexpr int kFewestDigits = 4;
    constexpr int kMostDigits = 17;
    std::string text;
    for (int digits = kFewestDigits; digits <= kMostDigits; ++digits) {
        text = significantText(value, digits);
        const double shown = parseNumber(text).value_or(value);
        if (shown < low || shown > high) break;
    }
    text += unit;
    if (low == high) return text + " is not " + significantText(low, kFewestDigits);
    return text + " is outside " + significantText(low, kFewestDigits) + " to " +
           significantText(high, kFewestDigits);
}

double turnNearest(double deg, const Interval& interval) {
    constexpr double kTurn = 360.0;
    if (interval.isFull) return deg;
    const double middle = interval.low + (interval.high - interval.low) / 2.0;
    return deg + kTurn * std::round((middle - deg) / kTurn);
}

}  // namespace ptmatch::tool
