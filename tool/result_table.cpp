#include "result_table.h"

#include <cstddef>
#include <vector>

#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
TableRow poseHead() {
    return {"rank", "rotation [deg]", "scale",     "translation x",
            "y",    "coverage",       "fit error", "matched"};
}

TableRow poseRow(std::size_t rank, const FoundPose& pose) {
    const rxVector<2> translation = pose.dataFromModel.trans();
    return {std::to_string(rank),          fixedText(pose.rotationDeg(), 3),
            fixedText(pose.scale(), 5),    fixedText(translation.x(), 3),
            fixedText(translation.y(), 3), fixedText(100.0 * pose.coverage, 1) + " %",
            fixedText(pose.fitError, 3),   matchedText(pose, "/")};
}

std::string matchedText(const FoundPose& pose, const std::string& separator) {
    return std::to_string(pose.matched()) + separator + std::to_string(pose.map.size());
}

std::string poseTable(const std::vector<FoundPose>& poses) {
    std::vector<TableRow> rows = {poseHead()};
    for (std::size_t i = 0; i < poses.size(); ++i) {
        rows.push_back(poseRow(i + 1, poses[i]));
    }
    return alignedText(rows);
}

std::string resultTable(const MatchReport& report) {
    std::string text = countedText(report.model.points.size(), "model point") + ", " +
                       countedText(report.data.points.size(), "data point") + ": ";
    if (report.poses.empty()) {
        return text + "nothing found (" + fixedText(report.seconds, 3) + " s)\n";
    }
    text += countedText(report.poses.size(), "pose") + " found in " + fixedText(report.seconds, 3) +
            " s\n\n";
    return text + poseTable(report.poses);
}

}  // namespace ptmatch::tool
