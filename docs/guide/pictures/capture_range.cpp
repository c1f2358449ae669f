#include <algorithm>

#include "pictures.h"
#include "ptmatch/ppmatch.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr double kSide = 290.0;
constexpr double kGap = 16.0;
constexpr double kTitleRoom = 36.0;

/// The data without the partners of each fifth point of the card.
Points withoutHiddenDots(const FoundCard& card) {
    Points seen;
    for (std::size_t k = 0; k < card.data.size(); ++k) {
        const auto place = std::ranges::find(card.map, static_cast<long>(k)) - card.map.begin();
        if (place == std::ssize(card.map) || place % 5 != 0) seen.push_back(card.data[k]);
    }
    return seen;
}

/// The pose that a search with a capture range of its own puts first.
rxPointMatcherResult bestResult(const FoundCard& card, const Points& data, double range) {
    rxPointMatcher matcher;
    matcher.train(card.model, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params(0.2);
    params.autoCaptureRange(false);
    params.captureRange(range);
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    return found.results().at(0);
}

}  // namespace

std::string captureRange() {
    const FoundCard card = foundCard();
    const Points data = withoutHiddenDots(card);
    constexpr double kReach = 112.0;
    Page page(3 * kSide + 4 * kGap, kSide + kTitleRoom + 66);
    const auto draw = [&](int column, double range, const std::string& verdict) {
        const rxPointMatcherResult best = bestResult(card, data, range);
        const Points placed = mapped(best.modelToDataXform(), card.model);
        const rxVector<2> middle = centreOf(placed);
        const double x = kGap + column * (kSide + kGap);
        Plot plot(page, {x, kTitleRoom, kSide, kSide},
                  {middle - rxVector<2>(kReach, kReach), middle + rxVector<2>(kReach, kReach)});
        Points matched;
        Points alone;
        for (std::size_t i = 0; i < placed.size(); ++i) {
            (best.modelToDataMap()[i] >= 0 ? matched : alone).push_back(placed[i]);
        }
        page.title(rxVector<2>(x, 24),
                   fixed(range, 1) + " px: " + std::to_string(matched.size()) + " of 30 matched");
        Points near;
        for (const rxVector<2>& p : data) {
            if ((p - middle).len() < 2.0 * kReach) near.push_back(p);
        }
        plot.dots(near, 2.6, tool::kBlue);
        plot.rings(matched, range * plot.scale(), tool::kOrange);
        plot.rings(alone, range * plot.scale(), tool::kMagenta);
        page.text(rxVector<2>(x, kTitleRoom + kSide + 20), verdict, 13, tool::kInk);
    };
    draw(0, 1.6, "too small: dots of the card are left out");
    draw(1, 6.4, "right: the 24 dots that are there");
    draw(2, 18.0, "too large: found at a wrong place");
    const double y = kTitleRoom + kSide + 50;
    const auto legend = [&](double x, const char* colour, const std::string& text) {
        page.canvas().circle(rxVector<2>(x, y - 4), 6.0,
                             {{"fill", "none"}, {"stroke", colour}, {"stroke-width", "1.8"}});
        page.text(rxVector<2>(x + 14, y), text, 13, tool::kFaintInk);
    };
    legend(kGap + 6, tool::kOrange, "model point with a partner within the capture range");
    legend(kGap + 420, tool::kMagenta, "model point without");
    return page.finished();
}

}  // namespace ptmatch::guide
