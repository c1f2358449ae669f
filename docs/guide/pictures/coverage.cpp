#include <algorithm>

#include "../snippets/hidden_dots.h"
#include "pictures.h"
#include "ptmatch/ppmatch.h"
#include "votes.h"

namespace ptmatch::guide {
namespace {

constexpr PageBox kBox = {70.0, 44.0, 620.0, 260.0};
constexpr long kMostHidden = 20;

double xOf(long hidden) {
    return kBox.x + kBox.width * (static_cast<double>(hidden) + 0.5) / (kMostHidden + 1.0);
}

double yOf(double coverage) {
    return kBox.y + kBox.height * (1.0 - coverage / 1.08);
}

/// Draws the coverage of the best pose for each number of hidden dots: a dot where it is the card,
/// a cross where it is an accident. Gives the coverage of clutter alone.
void drawBest(Page& page, const FoundCard& card, const rxPointMatcher& matcher) {
    rxPointMatcherRunParams params(0.0);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.maxNumResults(20);
    for (long hidden = 0; hidden <= kMostHidden; ++hidden) {
        rxPointMatcherResultSet found;
        matcher.run(withHiddenDots(card.data, card.map, hidden), params, found);
        const rxPointMatcherResult& best = found.results().at(0);
        double off = 0.0;
        for (const rxVector<2>& m : card.model) {
            off = std::max(off, (best.modelToDataXform() * m - card.pose * m).len());
        }
        const rxVector<2> at(xOf(hidden), yOf(best.coverage()));
        if (off < 2.0) {
            page.canvas().circle(at, 5.5, {{"fill", tool::kBlue}});
        } else {
            page.canvas().cross(at, 5.0, {{"stroke", tool::kMagenta}, {"stroke-width", "2"}});
        }
    }
}

}  // namespace

std::string coverage() {
    const FoundCard card = foundCard();
    rxPointMatcher matcher;
    matcher.train(card.model, rxPointMatcherDefs::eAutoDetect);

    Page page(920, 370);
    page.title(rxVector<2>(kBox.x, 28),
               "Coverage of the best pose, as dots of the card are hidden");
    SvgCanvas& canvas = page.canvas();
    canvas.rectangle(rxVector<2>(kBox.x, kBox.y), kBox.width, kBox.height,
                     {{"fill", "#ffffff"}, {"stroke", tool::kFrameLine}});
    for (const double level : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        canvas.line(rxVector<2>(kBox.x, yOf(level)), rxVector<2>(kBox.x + kBox.width, yOf(level)),
                    {{"stroke", tool::kGridLine}});
        page.text(rxVector<2>(kBox.x - 8, yOf(level) + 5), fixed(level, 2), 13, tool::kFaintInk,
                  "end");
    }
    canvas.line(rxVector<2>(kBox.x, yOf(0.5)), rxVector<2>(kBox.x + kBox.width, yOf(0.5)),
                {{"stroke", tool::kOrange}, {"stroke-width", "1.5"}, {"stroke-dasharray", "6 4"}});
    for (long hidden = 0; hidden <= kMostHidden; hidden += 2) {
        page.text(rxVector<2>(xOf(hidden), kBox.y + kBox.height + 20), std::to_string(hidden), 13,
                  tool::kFaintInk, "middle");
    }
    page.text(rxVector<2>(kBox.x + kBox.width / 2, kBox.y + kBox.height + 44),
              "dots of the card that are hidden, of 30", 13, tool::kFaintInk, "middle");
    drawBest(page, card, matcher);

    const double x = kBox.x + kBox.width + 20;
    canvas.circle(rxVector<2>(x + 6, 76), 5.5, {{"fill", tool::kBlue}});
    page.text(rxVector<2>(x + 22, 81), "the card is found", 13);
    canvas.cross(rxVector<2>(x + 6, 104), 5.0, {{"stroke", tool::kMagenta}, {"stroke-width", "2"}});
    page.text(rxVector<2>(x + 22, 109), "other dots, by accident", 13);
    page.text(rxVector<2>(x, yOf(0.5) + 5), "the default: 0.5", 13, tool::kOrange);
    return page.finished();
}

}  // namespace ptmatch::guide
