#include "vote_text.h"

#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

TableRow rowOf(const rxVoteImage& image, const std::string& name, double column, double row,
               const std::string& vote) {
    const rxVector<2> shift = image.translation(column, row);
    return {name,
            fixedText(column, 0),
            fixedText(row, 0),
            fixedText(shift.x(), 3),
            fixedText(shift.y(), 3),
            vote};
}

}  // namespace

std::string voteTable(const VoteReport& report) {
    const rxVoteImage& image = report.image;
    std::string text =
        "votes at scale " + fixedText(image.place.scale, 5) + ", rotation " +
        fixedText(image.place.rotationDegrees, 3) + " deg against the start, " +
        (report.isOfBestPose ? "nearest to the best pose" : "where the highest vote stands") +
        ": " + std::to_string(image.width) + " x " + std::to_string(image.height) +
        " translations, step " + significantText(image.step, 6) + ", threshold " +
        std::to_string(image.threshold) + "\n\n";
    const auto voteAt = [&](long column, long row) {
        return std::to_string(image.vote(column, row));
    };
    std::vector<TableRow> rows = {{"", "column", "row", "shift x", "y", "vote"}};
    rows.push_back(rowOf(image, "upper left", 0, 0, voteAt(0, 0)));
    const long right = image.width - 1;
    const long bottom = image.height - 1;
    rows.push_back(rowOf(image, "lower right", static_cast<double>(right),
                         static_cast<double>(bottom), voteAt(right, bottom)));
    rows.push_back(
        rowOf(image, "highest", static_cast<double>(report.highestColumn),
              static_cast<double>(report.highestRow),
              std::to_string(report.highest()) + "/" + std::to_string(image.highestPossible)));
    for (const VoteReport::Pose& pose : report.poses) {
        const rxVector<2> shift = image.translation(pose.place.x(), pose.place.y());
        rows.push_back({"pose " + std::to_string(pose.rank), fixedText(pose.place.x(), 2),
                        fixedText(pose.place.y(), 2), fixedText(shift.x(), 3),
                        fixedText(shift.y(), 3), pose.vote ? std::to_string(*pose.vote) : "-"});
    }
    return text + alignedText(rows);
}

Json voteJson(const VoteReport& report) {
    const rxVoteImage& image = report.image;
    Json poses = Json::array();
    for (const VoteReport::Pose& pose : report.poses) {
        Json mark = {{"rank", pose.rank},
                     {"column", pose.place.x()},
                     {"row", pose.place.y()},
                     {"vote", nullptr}};
        if (pose.vote) mark["vote"] = *pose.vote;
        poses.push_back(mark);
    }
    const auto shift = [&](long column, long row) {
        return vectorJson(image.translation(static_cast<double>(column), static_cast<double>(row)));
    };
    return {{"file", report.file},
            {"choice", report.isOfBestPose ? "best pose" : "highest vote"},
            {"scale", image.place.scale},
            {"rotation_deg", image.place.rotationDegrees},
            {"width", image.width},
            {"height", image.height},
            {"step", image.step},
            {"first_shift", shift(0, 0)},
            {"last_shift", shift(image.width - 1, image.height - 1)},
            {"threshold", image.threshold},
            {"highest_possible", image.highestPossible},
            {"lowest", report.lowest},
            {"highest",
             {{"vote", report.highest()},
              {"column", report.highestColumn},
              {"row", report.highestRow},
              {"shift", shift(report.highestColumn, report.highestRow)}}},
            {"poses", poses},
            {"poses_elsewhere", report.posesElsewhere}};
}

}  // namespace ptmatch::tool
