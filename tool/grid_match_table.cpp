#include "grid_match_table.h"

#include "foundation/angle.h"
#include "grid_map_table.h"
#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
TableRow placementHead() {
    return {"rank",     "position 0, 0: x", "y",           "direction [deg]", "column step",
            "row step", "coverage",         "error (RMS)", "matched",         "beyond"};
}

TableRow placementRow(std::size_t rank, const GridPlacement& placement) {
    TableRow row = {std::to_string(rank)};
    if (placement.dataFromPattern) {
        const rxXform<2>& xform = *placement.dataFromPattern;
        const rxMatrix<2> m = xform.matrix();
        const rxVector<2> down(m.element(0, 1), m.element(1, 1));
        row.insert(row.end(), {fixedText(xform.trans().x(), 3), fixedText(xform.trans().y(), 3),
                               fixedText(rxDegree(xform.rotation()).toDouble(), 3),
                               fixedText(xform.xScale(), 3), fixedText(down.len(), 3)});
    } else {
        row.insert(row.end(), {"?", "?", "?", "?", "?"});
    }
    row.insert(row.end(), {fixedText(100.0 * placement.coverage, 1) + " %",
                           fixedText(placement.rmsError, 3), matchedText(placement, "/"),
                           placement.reachesBeyond ? std::to_string(*placement.reachesBeyond)
                                                   : std::string("-")});
    return row;
}

std::string patternText(const GridPattern& pattern) {
    return "pattern of " + std::to_string(pattern.width) + " x " + std::to_string(pattern.height) +
           " positions, " + std::to_string(pattern.positions.size()) + " set" +
           (pattern.isStaggered() ? ", staggered" : "");
}

std::string gridMatchTable(const GridMatchReport& report) {
    std::string text = patternText(report.pattern) + ", " +
                       countedText(report.data.points.size(), "data point") + ": ";
    const std::string seconds = fixedText(report.seconds, 3) + " s";
    if (report.placements.empty()) {
        return text + "nothing found (" + seconds + ")\n" + stepsLine(report.choice);
    }
    text += countedText(report.placements.size(), "placement") + " found in " + seconds + "\n" +
            stepsLine(report.choice) + "\n";
    std::vector<TableRow> rows = {placementHead()};
    for (std::size_t k = 0; k < report.placements.size(); ++k) {
        rows.push_back(placementRow(k + 1, report.placements[k]));
    }
    return text + alignedText(rows);
}

}  // namespace ptmatch::tool
