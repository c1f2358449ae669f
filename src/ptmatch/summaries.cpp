#include "ptmatch/summaries.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>

namespace {

std::string textOf(double value) {
    std::array<char, 32> digits{};
    // A negative zero would look like a mistake.
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value + 0.0,
                                   std::chars_format::general, 6);
    return {digits.data(), end.ptr};
}

std::string joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) text += part;
    return text;
}

std::string textOf(const rxVector<2>& v) {
    return joined({"(", textOf(v.x()), ", ", textOf(v.y()), ")"});
}

/// @param unit  of the numbers after they were multiplied by the factor; begins with a blank.
std::string intervalText(rxRangeDefs::Range kind, double start, double end, double factor,
                         const char* unit) {
    if (kind == rxRangeDefs::Full) return "any";
    if (kind == rxRangeDefs::Empty) return "none";
    if (start == end) return joined({textOf(start * factor), unit});
    return joined({textOf(start * factor), " to ", textOf(end * factor), unit});
}

std::string textOf(const rxRange& range, double factor = 1.0, const char* unit = "") {
    return intervalText(range.range(), range.start(), range.end(), factor, unit);
}

std::string textOf(const rxAngleRange& range) {
    return intervalText(range.range(), rxDegree(range.start()).toDouble(),
                        rxDegree(range.end()).toDouble(), 1.0, " deg");
}

/// To within what fits and six digits leave.
bool isSimilarity(const rxMatrix<2>& m) {
    const double size = std::max(std::abs(m.element(0, 0)), std::abs(m.element(1, 0)));
    return std::abs(m.element(0, 0) - m.element(1, 1)) <= 1e-9 * size &&
           std::abs(m.element(1, 0) + m.element(0, 1)) <= 1e-9 * size;
}

std::string textOf(const rxXform<2>& pose) {
    const rxMatrix<2>& m = pose.matrix();
    const std::string place = textOf(pose.trans());
    if (isSimilarity(m)) {
        return joined({"at ", place, ", rotation ", textOf(rxDegree(pose.rotation()).toDouble()),
                       " deg, scale ", textOf(pose.xScale())});
    }
    return joined({"at ", place, ", matrix ", textOf(rxVector<2>(m.element(0, 0), m.element(0, 1))),
                   " ", textOf(rxVector<2>(m.element(1, 0), m.element(1, 1)))});
}

std::string automaticOr(bool isAutomatic, double value) {
    return isAutomatic ? "automatic" : textOf(value);
}

struct Line {
    std::string_view name;
    std::string value;
};

}  // namespace

std::ostream& operator<<(std::ostream& stream, const rxPointMatcherRunParams& params) {
    const rxXform<2> start = params.startPose();
    const std::array<Line, 9> lines = {{
        {"coverage       ", textOf(params.minCoverage()) + " or more"},
        {"start pose     ", start == rxXform<2>::I ? "identity" : textOf(start)},
        {"x translation  ", textOf(params.xTranslationUncertainty())},
        {"y translation  ", textOf(params.yTranslationUncertainty())},
        {"rotation       ", textOf(params.rotationUncertainty())},
        {"scale          ", textOf(params.scaleUncertainty(), 100.0, " %")},
        {"grid size      ", automaticOr(params.autoGridSize(), params.gridSize())},
        {"capture range  ", automaticOr(params.autoCaptureRange(), params.captureRange())},
        {"results        ", std::to_string(params.maxNumResults()) + " at most"},
    }};
    std::string text;
    for (const Line& line : lines) {
        if (!text.empty()) text += '\n';
        text += line.name;
        text += line.value;
    }
    return stream << text;
}

std::ostream& operator<<(std::ostream& stream, const rxPointMatcherResult& result) {
    std::string matched;
    // Only these have a map; what was loaded may have been recorded with any mode.
    if (result.runMode() == rxPointMatcherDefs::ePointToPoint ||
        result.runMode() == rxPointMatcherDefs::eExhaustiveMode) {
        const auto numMatched =
            std::ranges::count_if(result.modelToDataMap(), [](long index) { return index >= 0; });
        matched = joined({" (", std::to_string(numMatched), " matched)"});
    }
    return stream << joined({"coverage ", textOf(result.coverage()), matched, ", fit error ",
                             textOf(result.fitError()), ", ", textOf(result.modelToDataXform())});
}

std::ostream& operator<<(std::ostream& stream, const rxPointMatcherResultSet& resultSet) {
    const auto& results = resultSet.results();
    stream << joined({std::to_string(results.size()), results.size() == 1 ? " result" : " results",
                      " in ", textOf(resultSet.time()), " s"});
    for (std::size_t i = 0; i < results.size(); ++i) {
        stream << joined({"\n  ", std::to_string(i + 1), "  "}) << results[i];
    }
    return stream;
}
