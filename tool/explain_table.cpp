#include "explain_table.h"

#include <algorithm>
#include <utility>

#include "grid_match_table.h"
#include "number_text.h"
#include "result_table.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

constexpr double kPercent = 100.0;

std::string sharedText(double share) {
    return fixedText(kPercent * share, 1) + " %";
}

std::string candidatesText(const rxWhyNot& why) {
    if (why.numCandidates == 0) return "no candidates\n";
    std::string text = countedText(static_cast<std::size_t>(why.numCandidates), "candidate") +
                       (why.isWidened ? " of a wider search" : "") + ", the best covers " +
                       sharedText(why.bestCoverage) + ": " + std::to_string(why.numReturned) +
                       " returned";
    const std::pair<long, const char*> rejected[] = {
        {why.numBelowCoverage, " below the coverage"},
        {why.numOutsideRotation, " outside the rotation"},
        {why.numOutsideScale, " outside the scale"},
        {why.numOutsideTranslation, " outside the translation"},
        {why.numSingular, " without extent"},
        {why.numBeyondCount, " beyond the number of results"}};
    for (const auto& [count, what] : rejected) {
        if (count > 0) text += ", " + std::to_string(count) + what;
    }
    return text + "\n";
}

std::string searchText(const rxRunCost& cost) {
    if (!(cost.gridSize > 0.0)) return {};
    std::string text = "grid size " + significantText(cost.gridSize, 4) + ", capture range " +
                       significantText(cost.captureRange, 4);
    if (cost.numLatticePoints > 0) {
        text += "; " + countedText(static_cast<std::size_t>(cost.numScales), "scale") + ", " +
                countedText(static_cast<std::size_t>(cost.numLatticePoints), "pair") +
                " of scale and rotation, " +
                countedText(static_cast<std::size_t>(cost.numTranslations), "translation");
    }
    return text + "\n";
}

std::string missText(const rxNearestMiss& miss) {
    FoundPose pose;
    pose.dataFromModel = miss.modelToDataXform;
    const rxVector<2> at = miss.modelToDataXform.trans();
    return "nearest miss: coverage " + sharedText(miss.coverage) + ", rotation " +
           fixedText(pose.rotationDeg(), 3) + " deg, scale " + fixedText(pose.scale(), 5) +
           ", translation " + fixedText(at.x(), 3) + ", " + fixedText(at.y(), 3) + ", fit error " +
           fixedText(miss.fitError, 3) + "\n";
}

std::string whyText(const rxWhyNot& why) {
    std::string text = candidatesText(why);
    if (why.nearestMiss) text += missText(*why.nearestMiss);
    return text + searchText(why.cost);
}

// What stands in a line for the pose: all columns of a result but its rank.
TableRow poseCells(const Rerun& rerun, std::size_t count) {
    TableRow cells;
    if (rerun.pose) cells = poseRow(1, *rerun.pose);
    if (rerun.placement) cells = placementRow(1, *rerun.placement);
    if (cells.empty()) return TableRow(count);
    cells.erase(cells.begin());
    return cells;
}

std::string chanceText(const Rerun& rerun) {
    if (!rerun.log10FalseAlarms) return {};
    constexpr double kLowest = -300.0;
    constexpr double kLikely = 0.0;
    if (*rerun.log10FalseAlarms >= kLikely) return "likely";
    return std::string("1e").append(fixedText(std::max(*rerun.log10FalseAlarms, kLowest), 0));
}

TableRow rerunRow(TableRow row, const Rerun& rerun, bool isGrid, std::size_t numPoseCells) {
    for (std::string& cell : poseCells(rerun, numPoseCells)) row.push_back(std::move(cell));
    if (!isGrid) row.push_back(chanceText(rerun));
    return row;
}

std::vector<TableRow> headOf(TableRow head, bool isGrid) {
    TableRow poseNames = isGrid ? placementHead() : poseHead();
    head.insert(head.end(), poseNames.begin() + 1, poseNames.end());
    if (!isGrid) head.emplace_back("by chance");
    return {head};
}

std::string rerunsText(const std::vector<Rerun>& reruns, bool isGrid) {
    const TableRow own = {"relaxed", "with", "outcome"};
    std::vector<TableRow> rows = headOf(own, isGrid);
    const std::size_t numPoseCells = rows.front().size() - own.size() - (isGrid ? 0 : 1);
    for (const Rerun& rerun : reruns) {
        rows.push_back(
            rerunRow({nameOf(rerun.limit), optionText(rerun.options), outcomeText(rerun.outcome)},
                     rerun, isGrid, numPoseCells));
    }
    return alignedText(rows);
}

// One search, whose options are too many for a column.
std::string expectedText(const Rerun& expected) {
    std::string text = "at the expected pose, " + optionText(expected.options) + ": ";
    text.append(outcomeText(expected.outcome)).append(1, '\n');
    if (!expected.pose) return text;
    std::vector<TableRow> rows = headOf({}, false);
    rows.push_back(rerunRow({}, expected, false, rows.front().size() - 1));
    return text.append(1, '\n').append(alignedText(rows));
}

std::string reasonsText(const std::vector<Rerun>& reruns, const std::string& name = {}) {
    std::string text;
    for (const Rerun& rerun : reruns) {
        const std::string start = (name.empty() ? nameOf(rerun.limit) : name) + ": ";
        if (!rerun.remark.empty()) text += start + rerun.remark + "\n";
        for (const Breach& breach : rerun.breaches) text += start + breach.text + "\n";
    }
    return text;
}

}  // namespace

std::string explainTable(const ExplainReport& report) {
    std::string text = report.isGrid ? gridMatchTable(report.gridMatch) : resultTable(report.match);
    if (report.why) {
        if (report.hasFound()) text += '\n';
        text += whyText(*report.why);
    }
    if (!report.gridRemark.empty()) text.append(report.gridRemark).append(1, '\n');
    text.append(1, '\n').append(rerunsText(report.reruns, report.isGrid));
    const std::string reasons = reasonsText(report.reruns);
    if (!reasons.empty()) text.append(1, '\n').append(reasons);
    if (report.expected) {
        text.append(1, '\n').append(expectedText(*report.expected));
        const std::string excluded = reasonsText({*report.expected}, "expected pose");
        if (!excluded.empty()) text.append(1, '\n').append(excluded);
    }
    return text.append("\nsuggestion: ").append(report.suggestion.text).append(1, '\n');
}

}  // namespace ptmatch::tool
