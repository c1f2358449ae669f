#include "archive_text.h"

#include <algorithm>
#include <cmath>

#include "foundation/angle.h"
#include "match_report.h"
#include "number_text.h"
#include "result_table.h"
#include "shown_text.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

constexpr int kDigits = 6;

std::string number(double value) {
    return significantText(value, kDigits);
}

std::string stepText(const std::optional<rxVector<2>>& step) {
    return step ? number(step->x()) + "," + number(step->y()) : "not known";
}

std::string rangeText(const rxRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    if (range.range() == rxRangeDefs::Empty) return "empty";
    return number(range.start()) + "," + number(range.end());
}

std::string rangeText(const rxAngleRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    if (range.range() == rxRangeDefs::Empty) return "empty";
    return number(rxDegree(range.start()).toDouble()) + "," +
           number(rxDegree(range.end()).toDouble());
}

std::string orAuto(bool isAutomatic, double value) {
    return isAutomatic ? "automatic" : number(value);
}

std::string xformText(const rxXform<2>& xform) {
    const rxMatrix<2> m = xform.matrix();
    return alignedText(
        {{"transform", number(m.element(0, 0)), number(m.element(0, 1)), number(xform.trans().x())},
         {"", number(m.element(1, 0)), number(m.element(1, 1)), number(xform.trans().y())}});
}

std::string modelText(const PointTable& model, const std::optional<double>& gridSize) {
    const ModelFigures figures = figuresOf(model);
    TableRow head = {"points", "x from", "to", "y from", "to", "automatic grid size"};
    const double size = gridSize.value_or(0.0);
    TableRow row = {std::to_string(model.points.size()),
                    number(figures.low.x()),
                    number(figures.high.x()),
                    number(figures.low.y()),
                    number(figures.high.y()),
                    std::isfinite(size) ? number(size) : "-"};
    if (!model.weights.empty()) {
        head.insert(head.end(), {"positive weights", "negative", "total weight"});
        row.insert(row.end(), {std::to_string(figures.positive), std::to_string(figures.negative),
                               std::to_string(figures.totalWeight)});
    }
    return alignedText({head, row});
}

// The pattern as it can be given to the tool again, if it fits on a page.
std::string drawing(const GridPattern& pattern) {
    constexpr long kWidest = 80;
    constexpr long kHighest = 60;
    if (pattern.width > kWidest || pattern.height > kHighest) return {};
    constexpr std::size_t kIndent = 4;
    std::string empty(kIndent, ' ');
    empty.append(static_cast<std::size_t>(pattern.width), '.');
    std::vector<std::string> rows(static_cast<std::size_t>(pattern.height), empty);
    for (const rxPair<long>& position : pattern.positions) {
        const rxPair<long> p = position - pattern.corner;
        rows[static_cast<std::size_t>(p.y())][kIndent + static_cast<std::size_t>(p.x())] = 'x';
    }
    std::string text(1, '\n');
    for (const std::string& row : rows) text.append(row).append(1, '\n');
    return text;
}

std::string gridText(const PatternSource& grid) {
    const GridPattern& pattern = grid.pattern;
    const std::string kind =
        std::string(pattern.isStaggered() ? "yes" : "no") + (pattern.isSparse() ? ", sparse" : "");
    return alignedText({{"columns", "rows", "set", "first column", "row", "staggered", "xv", "yv"},
                        {std::to_string(pattern.width), std::to_string(pattern.height),
                         std::to_string(pattern.positions.size()),
                         std::to_string(pattern.corner.x()), std::to_string(pattern.corner.y()),
                         kind, stepText(grid.steps.xv), stepText(grid.steps.yv)}}) +
           drawing(pattern);
}

std::string recordText(const MatcherContent& matcher) {
    if (matcher.grid) return gridText(*matcher.grid);
    if (matcher.isOfGrid) return "cannot be shown: " + matcher.fault + "\n";
    return matcher.model ? modelText(*matcher.model, matcher.defaultGridSize) : "";
}

std::string recordText(const rxPointMatcherRunParams& params) {
    return alignedText(
               {{"min coverage", "rotation [deg]", "scale", "x translation", "y translation",
                 "grid size", "capture range", "max results"},
                {number(params.minCoverage()), rangeText(params.rotationUncertainty()),
                 rangeText(params.scaleUncertainty()), rangeText(params.xTranslationUncertainty()),
                 rangeText(params.yTranslationUncertainty()),
                 orAuto(params.autoGridSize(), params.gridSize()),
                 orAuto(params.autoCaptureRange(), params.captureRange()),
                 std::to_string(params.maxNumResults())}}) +
           "start pose\n" + xformText(params.startPose());
}

std::string recordText(const rxPointMatcherResultSet& results) {
    const std::string head = countedText(results.results().size(), "result") + " in " +
                             fixedText(results.time(), 3) + " s\n";
    const std::vector<FoundPose> poses = foundPoses(results);
    return poses.empty() ? head : head + poseTable(poses);
}

std::string recordText(const rxPointMatcherResult& result) {
    return poseTable({foundPose(result)});
}

std::string recordText(const rxPtToGridMapRunParams& params) {
    return alignedText(
        {{"xv", "yv", "staggered", "snap", "size tolerance", "angle tolerance"},
         {stepText(params.xv()), stepText(params.yv()), params.staggered() ? "yes" : "no",
          number(params.snapSize()), rangeText(params.sizeTol()), rangeText(params.angleTol())}});
}

std::string recordText(const rxPtToGridMapResult& result) {
    const std::vector<rxPair<long>>& map = result.map();
    const auto placed = std::count_if(map.begin(), map.end(), [](const rxPair<long>& position) {
        return position.x() != rxPtToGridMapResult::kUnassigned;
    });
    return alignedText({{"points", "placed", "valid"},
                        {std::to_string(map.size()), std::to_string(placed),
                         result.valid() ? "yes" : "no"}}) +
           xformText(result.grid2point());
}

}  // namespace

ModelFigures figuresOf(const PointTable& table) {
    ModelFigures figures;
    figures.low = figures.high = table.points.front();
    for (const rxVector<2>& point : table.points) {
        figures.low = {std::min(figures.low.x(), point.x()), std::min(figures.low.y(), point.y())};
        figures.high = {std::max(figures.high.x(), point.x()),
                        std::max(figures.high.y(), point.y())};
    }
    for (const long weight : table.weights) {
        if (weight > 0) ++figures.positive;
        if (weight < 0) ++figures.negative;
        figures.totalWeight += std::max(weight, 0L);
    }
    if (table.weights.empty()) {
        figures.positive = table.points.size();
        figures.totalWeight = static_cast<long>(table.points.size());
    }
    return figures;
}

std::string archiveText(const ArchiveContent& content) {
    std::string text = withoutControls(content.file) + ": " +
                       countedText(content.records.size(), "record") + ", " +
                       countedText(content.bytes, "byte") + "\n";
    for (const ArchiveRecord& record : content.records) {
        const std::string table =
            std::visit([](const auto& value) { return recordText(value); }, record.content);
        text.append(1, '\n').append(record.kind()).append(1, '\n').append(table);
    }
    return text;
}

}  // namespace ptmatch::tool
