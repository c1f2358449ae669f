#include "grid_options.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "input_error.h"
#include "number_text.h"
#include "plane_vectors.h"

namespace ptmatch::tool {
namespace {

constexpr double kShortestStep = 1e-150;
constexpr double kLongestStep = 1e150;

void checkLength(const char* option, const rxVector<2>& step) {
    if (step.isNull()) return;
    const double length = std::hypot(step.x(), step.y());
    if (length >= kShortestStep && length <= kLongestStep) return;
    throw InputError(std::string(option) + ": must have a length from 1e-150 to 1e150, found " +
                     shortText(length));
}

// Parallel to within the rounding of the products; the steps are first brought to lengths near 1,
// where no product leaves the range of a double.
bool areParallel(const GridSteps& steps) {
    constexpr double kRounding = 8.0 * 0x1p-52;
    const rxVector<2> x = scaled(steps.xv, 1.0 / std::hypot(steps.xv.x(), steps.xv.y()));
    const rxVector<2> y = scaled(steps.yv, 1.0 / std::hypot(steps.yv.x(), steps.yv.y()));
    return std::abs(cross(x, y)) <= kRounding * (std::abs(x.x() * y.y()) + std::abs(x.y() * y.x()));
}

// A proposal is an estimate: four digits of the length of the step are enough, and can be read,
// written down and given again.
rxVector<2> withFourDigits(const rxVector<2>& step) {
    const double length = step.len();
    if (!(length > 0.0) || !std::isfinite(length)) return step;
    const int decimals = std::max(0, 3 - static_cast<int>(std::floor(std::log10(length))));
    const auto rounded = [&](double value) {
        return parseNumber(fixedText(value, decimals)).value_or(value);
    };
    return {rounded(step.x()), rounded(step.y())};
}

void checkSteps(const GridSteps& steps, bool staggered) {
    checkLength("--xv", steps.xv);
    checkLength("--yv", steps.yv);
    const bool lacksOne = steps.xv.isNull() || steps.yv.isNull();
    if (steps.xv.isNull() && steps.yv.isNull()) {
        throw InputError("--xv and --yv: at least one must be other than 0,0");
    }
    if (lacksOne && staggered) throw InputError("a staggered grid needs both --xv and --yv");
    if (!lacksOne && areParallel(steps)) throw InputError("--xv and --yv are parallel");
}

}  // namespace

void addStepOptions(CLI::App& app, StepOptions& options) {
    addVector(app, "--xv",
              "Step from one column of the grid to the next, data units (default: proposed from "
              "the data)",
              options.xv);
    addVector(app, "--yv",
              "Step from one row of the grid to the next, data units (default: proposed from the "
              "data)",
              options.yv);
}

StepOptions squared(StepOptions options) {
    const auto isGiven = [](const std::optional<rxVector<2>>& step) {
        return step && !step->isNull();
    };
    if (isGiven(options.xv) && !isGiven(options.yv)) {
        options.yv = rxVector<2>(-options.xv->y(), options.xv->x());
    } else if (isGiven(options.yv) && !isGiven(options.xv)) {
        options.xv = rxVector<2>(options.yv->y(), -options.yv->x());
    }
    return options;
}

GridSteps squared(const GridSteps& steps) {
    const StepOptions both = squared(StepOptions{steps.xv, steps.yv});
    return {*both.xv, *both.yv};
}

StepChoice chooseSteps(const StepOptions& options, const std::vector<rxVector<2>>& points,
                       bool staggered, const std::string& dataFile) {
    StepChoice choice;
    if (options.xv || options.yv) {
        choice.steps = {options.xv.value_or(rxVector<2>()), options.yv.value_or(rxVector<2>())};
        checkSteps(choice.steps, staggered);
        return choice;
    }
    choice.proposal = proposeSteps(points, staggered);
    if (!choice.proposal) {
        throw InputError(dataFile + ": no grid is seen among the points; give --xv and --yv");
    }
    choice.steps = {withFourDigits(choice.proposal->steps.xv),
                    withFourDigits(choice.proposal->steps.yv)};
    checkSteps(choice.steps, staggered);
    return choice;
}

std::string stepsText(const GridSteps& steps) {
    std::string text;
    for (const auto& [option, step] :
         {std::pair("--xv ", steps.xv), std::pair("--yv ", steps.yv)}) {
        if (step.isNull()) continue;
        if (!text.empty()) text += ' ';
        text += option + shortText(step.x()) + "," + shortText(step.y());
    }
    return text;
}

}  // namespace ptmatch::tool
