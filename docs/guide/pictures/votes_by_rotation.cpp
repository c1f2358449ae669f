#include <algorithm>
#include <numbers>
#include <vector>

#include "pictures.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr PageBox kBox = {70.0, 44.0, 820.0, 230.0};

double xOf(double rotationRad) {
    return kBox.x + kBox.width * (0.5 + rotationRad / (2.1 * kPi));
}

double yOf(long votes, std::size_t numPoints) {
    return kBox.y + kBox.height * (1.0 - static_cast<double>(votes) /
                                             (1.06 * static_cast<double>(numPoints)));
}

}  // namespace

std::string votesByRotation() {
    const Points model = pointsOf("demo_pick/model");
    const Points data = pointsOf("demo_pick/data");
    Page page(920, 340);
    page.title(rxVector<2>(kBox.x, 28), "The most votes of any place, for each rotation tried");
    SvgCanvas& canvas = page.canvas();
    canvas.rectangle(rxVector<2>(kBox.x, kBox.y), kBox.width, kBox.height,
                     {{"fill", "#ffffff"}, {"stroke", tool::kFrameLine}});
    for (const long level : {0L, 10L, 20L, 30L}) {
        const double y = yOf(level, model.size());
        canvas.line(rxVector<2>(kBox.x, y), rxVector<2>(kBox.x + kBox.width, y),
                    {{"stroke", tool::kGridLine}});
        page.text(rxVector<2>(kBox.x - 8, y + 5), std::to_string(level), 13, tool::kFaintInk,
                  "end");
    }

    const double cell = automaticGridSize(model);
    const double step = rotationStepRad(model, cell);
    const long half = static_cast<long>(kPi / step) + 1;
    Votes votes(data, cell);
    std::vector<long> most;
    for (long k = -half; k <= half; ++k) {
        votes.count(model, static_cast<double>(k) * step, 1.0);
        most.push_back(votes.highest().votes);
    }
    const auto best = std::ranges::max_element(most);
    for (auto bar = most.begin(); bar != most.end(); ++bar) {
        const double x = xOf(static_cast<double>(bar - most.begin() - half) * step);
        const double y = yOf(*bar, model.size());
        canvas.rectangle(rxVector<2>(x - 3.5, y), 7.0, kBox.y + kBox.height - y,
                         {{"fill", bar == best ? tool::kOrange : tool::kBlue}});
    }
    const double bestRotation = static_cast<double>(best - most.begin() - half) * step;
    page.text(rxVector<2>(xOf(bestRotation) + 10, yOf(*best, model.size()) + 8),
              std::to_string(*best) + " of " + std::to_string(model.size()) + " points at " +
                  fixed(bestRotation * 180.0 / kPi, 1) + "\u00b0");
    for (int degrees = -180; degrees <= 180; degrees += 45) {
        page.text(rxVector<2>(xOf(degrees * kPi / 180.0), kBox.y + kBox.height + 20),
                  std::to_string(degrees) + "\u00b0", 13, tool::kFaintInk, "middle");
    }
    page.text(rxVector<2>(kBox.x + kBox.width / 2, kBox.y + kBox.height + 44), "rotation", 13,
              tool::kFaintInk, "middle");
    return page.finished();
}

}  // namespace ptmatch::guide
