#include <cmath>

#include "pictures.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr double kWidth = 440.0;
constexpr double kHeight = 268.0;
constexpr double kGap = 20.0;
constexpr double kTitleRoom = 34.0;

PageBox boxAt(int column, int row) {
    return {kGap + column * (kWidth + kGap), kTitleRoom + row * (kHeight + kTitleRoom + 6), kWidth,
            kHeight};
}

// Runs of cells of the same shade become one rectangle; a cell is a unit of the group.
void drawVotes(Page& page, const Plot& plot, const Votes& votes, long most) {
    constexpr int kShades = 7;
    const auto shadeOf = [&](long column, long row) {
        return static_cast<int>(votes.at(column, row) * kShades / (most + 1));
    };
    const rxVector<2> origin = plot.at(votes.corner(0, 0));
    const auto cells = page.canvas().group(
        {{"transform", "translate(" + fixed(origin.x(), 2) + " " + fixed(origin.y(), 2) +
                           ") scale(" + fixed(plot.scale() * votes.cell(), 4) + ")"},
         {"shape-rendering", "crispEdges"}});
    for (int shade = 1; shade < kShades; ++shade) {
        const double opacity = std::pow(static_cast<double>(shade) / (kShades - 1), 1.5);
        const auto group =
            page.canvas().group({{"fill", tool::kBlue}, {"fill-opacity", fixed(opacity, 2)}});
        for (long row = 0; row < votes.rows(); ++row) {
            for (long column = 0; column < votes.columns(); ++column) {
                if (shadeOf(column, row) != shade) continue;
                const long first = column;
                while (column + 1 < votes.columns() && shadeOf(column + 1, row) == shade) ++column;
                page.canvas().rectangle(
                    rxVector<2>(static_cast<double>(first), static_cast<double>(row)),
                    static_cast<double>(column + 1 - first), 1.0);
            }
        }
    }
}

}  // namespace

std::string whatMatchingDoes() {
    const FoundCard card = foundCard();
    const Points& model = card.model;
    const Points& data = card.data;
    const rxXform<2>& pose = card.pose;

    Page page(3 * kGap + 2 * kWidth, 2 * (kHeight + kTitleRoom + 6) + kGap);
    const auto titleAt = [&](int column, int row, const std::string& text) {
        const PageBox box = boxAt(column, row);
        page.title(rxVector<2>(box.x, box.y - 10), text);
    };

    // The model at the scale of the data, in the middle of the box.
    titleAt(0, 0, "1  The model: " + std::to_string(model.size()) + " points");
    const rxVector<2> middle = centreOf(data);
    const rxXform<2> toMiddle(middle - centreOf(model), rxRadian(0.0), rxRadian(0.0), 1.0, 1.0);
    const Points centred = mapped(toMiddle, model);
    Plot modelPlot(page, boxAt(0, 0), data);
    modelPlot.outline(centred, tool::kOrange);
    modelPlot.dots(centred, 2.8, tool::kOrange);

    titleAt(1, 0, "2  The data: " + std::to_string(data.size()) + " points that look alike");
    Plot dataPlot(page, boxAt(1, 0), data);
    dataPlot.dots(data, 2.2, tool::kFaintInk);

    Votes votes(data, automaticGridSize(model));
    votes.count(model, pose.rotation().toDouble(), pose.xScale());
    const Votes::Peak peak = votes.highest();
    titleAt(0, 1, "3  Votes for each place of the model's centre");
    const Plot votePlot(page, boxAt(0, 1), data);
    drawVotes(page, votePlot, votes, peak.votes);
    const double half = votes.cell() / 2.0;
    const rxVector<2> at =
        votePlot.at(votes.corner(peak.column, peak.row) + rxVector<2>(half, half));
    page.canvas().circle(at, 11,
                         {{"fill", "none"}, {"stroke", tool::kOrange}, {"stroke-width", "2.5"}});
    page.text(at + rxVector<2>(16, 5), std::to_string(peak.votes) + " votes", 14, tool::kInk);

    titleAt(1, 1, "4  The pose: all " + std::to_string(model.size()) + " have a partner");
    Plot posePlot(page, boxAt(1, 1), data);
    const Points placed = mapped(pose, model);
    posePlot.outline(placed, tool::kOrange);
    posePlot.dots(data, 2.2, tool::kQuietGrey);
    Points partners;
    for (const long k : card.map) partners.push_back(data[static_cast<std::size_t>(k)]);
    posePlot.dots(partners, 2.6, tool::kBlue);
    posePlot.rings(placed, 5.5, tool::kOrange);
    return page.finished();
}

}  // namespace ptmatch::guide
