#include "result_table.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "number_text.h"

namespace ptmatch::tool {
namespace {

using Row = std::vector<std::string>;

Row rowOf(std::size_t rank, const FoundPose& pose) {
    const rxVector<2> translation = pose.dataFromModel.trans();
    return {std::to_string(rank),          fixedText(pose.rotationDeg(), 3),
            fixedText(pose.scale(), 5),    fixedText(translation.x(), 3),
            fixedText(translation.y(), 3), fixedText(100.0 * pose.coverage, 1) + " %",
            fixedText(pose.fitError, 3),   matchedText(pose, "/")};
}

// Every column as wide as its widest cell, cells to the right, two blanks between columns.
std::string aligned(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += std::string(widths[i] - row[i].size() + (i == 0 ? 0 : 2), ' ') + row[i];
        }
        text += '\n';
    }
    return text;
}

std::string counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

std::string matchedText(const FoundPose& pose, const std::string& separator) {
    return std::to_string(pose.matched()) + separator + std::to_string(pose.map.size());
}

std::string resultTable(const MatchReport& report) {
    std::string text = counted(report.model.points.size(), "model point") + ", " +
                       counted(report.data.points.size(), "data point") + ": ";
    if (report.poses.empty()) {
        return text + "nothing found (" + fixedText(report.seconds, 3) + " s)\n";
    }
    text += counted(report.poses.size(), "pose") + " found in " + fixedText(report.seconds, 3) +
            " s\n\n";
    std::vector<Row> rows = {{"rank", "rotation [deg]", "scale", "translation x", "y", "coverage",
                              "fit error", "matched"}};
    for (std::size_t i = 0; i < report.poses.size(); ++i) {
        rows.push_back(rowOf(i + 1, report.poses[i]));
    }
    return text + aligned(rows);
}

}  // namespace ptmatch::tool
