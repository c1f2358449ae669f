#include "ptmatch/vote_image.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "foundation/angle.h"
#include "ptmatch/group_search.h"
#include "ptmatch/lattice_vote.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/search_memory.h"
#include "ptmatch/search_params.h"
#include "ptmatch/search_plan.h"
#include "ptmatch/translation_search.h"
#include "ptmatch/vote_weights.h"

namespace {

using namespace ptmatch::detail;  // NOLINT: joins pieces that live there
using Points = std::vector<rxVector<2>>;
using BadParams = rxPointMatcherDefs::BadParams;

/// What the search of a run votes with.
struct Ballot {
    SearchPlan plan;
    rxPointMatcherRunParams search;
    SearchGrid grid;
    VoteWeights weights;
};

/// Nothing when the run returns without a search.
std::optional<Ballot> prepare(const rxPointMatcher& matcher, const Points& data,
                              const rxPointMatcherRunParams& params) {
    const auto plan = planSearch(matcher, data, params);
    if (!plan) {
        throw BadParams(
            "only a search by votes has votes to look at: not an exhaustive one, nor one in grid "
            "mode with a dense pattern\n");
    }
    if (!plan->isSearched) return std::nullopt;
    const rx_PointMatcherModel& model = *plan->model;
    Ballot ballot{*plan, searchParams(plan->params, model.points().size(), data.size()), {}, {}};
    ballot.grid =
        *makeSearchGrid(data, model, ballot.search.startPose(), ballot.plan.sizes.gridSize);
    ballot.weights =
        *makeVoteWeights(model.points().size(), model.weights(), ballot.search.minCoverage());
    return ballot;
}

void checkPlace(const rxVotePlace& place) {
    if (!(place.scale > 0.0) || !std::isfinite(place.scale) ||
        !std::isfinite(place.rotationDegrees)) {
        throw BadParams("a place to vote at has a scale above 0 and a rotation, both finite\n");
    }
}

/// A byte for each pixel, 1 in the 3 x 3 blocks around the pixels of the data points.
std::vector<std::uint8_t> drawMarks(const SearchGrid& grid) {
    std::vector<std::uint8_t> marks(static_cast<std::size_t>(grid.width) *
                                    static_cast<std::size_t>(grid.height));
    for (const rxVector<2>& point : grid.data) {
        const rxPair<long> pixel = pixelOf(grid.imageFromModel * point);
        const long left = std::max(pixel.x() - 1, 0L);
        const long right = std::min(pixel.x() + 1, grid.width - 1);
        const long bottom = std::min(pixel.y() + 1, grid.height - 1);
        for (long y = std::max(pixel.y() - 1, 0L); y <= bottom; ++y) {
            for (long x = left; x <= right; ++x) {
                marks[static_cast<std::size_t>(y * grid.width + x)] = 1;
            }
        }
    }
    return marks;
}

/// The part of `extent` translations, first to before last, that brings a coordinate into an image.
struct Overlap {
    std::int64_t first, last;

    Overlap(std::int64_t coordinate, long extent, long imageExtent)
        : first(std::max<std::int64_t>(-coordinate, 0)),
          last(std::min<std::int64_t>(imageExtent - coordinate, extent)) {}
};

/// Adds the votes of a model point.
/// @param x, y  its pixel under the first translation.
void addVotes(const SearchGrid& grid, const std::vector<std::uint8_t>& marks, std::int64_t x,
              std::int64_t y, std::int32_t weight, rxVoteImage& image) {
    const Overlap columns(x, image.width, grid.width);
    const Overlap rows(y, image.height, grid.height);
    if (columns.first >= columns.last) return;
    for (std::int64_t row = rows.first; row < rows.last; ++row) {
        const std::uint8_t* mark =
            marks.data() + static_cast<std::ptrdiff_t>((y + row) * grid.width + x + columns.first);
        std::int32_t* vote =
            image.votes.data() + static_cast<std::ptrdiff_t>(row * image.width + columns.first);
        for (std::int64_t left = columns.last - columns.first; left > 0; --left) {
            *vote++ += weight * *mark++;
        }
    }
}

long sumOfPositive(const VoteWeights& weights, std::size_t numPoints) {
    if (!weights.isWeighted()) return static_cast<long>(numPoints);
    long sum = 0;
    for (const std::int16_t weight : weights.scaled) sum += std::max<long>(weight, 0);
    return sum;
}

rxVoteImage emptyImage(const Ballot& ballot, const rxVotePlace& place) {
    const rx_PointMatcherModel& model = *ballot.plan.model;
    const rxPelRect& window = ballot.plan.window;
    rxVoteImage image;
    image.place = place;
    image.width = window.width() + 1;
    image.height = window.height() + 1;
    image.firstStep = window.ul();
    image.step = ballot.grid.gridSize;
    image.threshold = ballot.weights.minimumScore;
    image.highestPossible = sumOfPositive(ballot.weights, model.points().size());
    image.isWeighted = ballot.weights.isWeighted();
    image.startPose = ballot.search.startPose();
    image.modelCenter = model.center();
    checkImageBytes(
        imageBytes(static_cast<double>(ballot.grid.width), static_cast<double>(ballot.grid.height),
                   1.0) +
        imageBytes(static_cast<double>(image.width), static_cast<double>(image.height), 4.0));
    return image;
}

/// The value nearest to another; the lowest of several.
template <class Distance>
double nearest(const Lattice& lattice, Distance&& distanceOf) {
    double best = lattice.low;
    double bestDistance = std::numeric_limits<double>::infinity();
    lattice.forEach([&](double value) {
        const double distance = distanceOf(value);
        if (distance >= bestDistance) return;
        best = value;
        bestDistance = distance;
    });
    return best;
}

}  // namespace

rxVector<2> rxVoteImage::translation(double column, double row) const {
    return {(static_cast<double>(firstStep.x()) + column) * step,
            (static_cast<double>(firstStep.y()) + row) * step};
}

rxXform<2> rxVoteImage::modelToData(double column, double row) const {
    const rxDegree angle(place.rotationDegrees);
    const rxXform<2> turned(rxVector<2>(0.0, 0.0), angle, angle, place.scale, place.scale);
    const rxVector<2> shift = modelCenter + translation(column, row) - turned * modelCenter;
    return startPose * rxXform<2>(turned.matrix(), shift);
}

rxVector<2> rxVoteImage::columnAndRow(const rxXform<2>& modelToData) const {
    const rxVector<2> moved = startPose.inverse() * (modelToData * modelCenter) - modelCenter;
    return {moved.x() / step - static_cast<double>(firstStep.x()),
            moved.y() / step - static_cast<double>(firstStep.y())};
}

rxVoteImage rfVoteImage(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                        const rxPointMatcherRunParams& params, const rxVotePlace& place) {
    checkPlace(place);
    const auto ballot = prepare(matcher, data, params);
    if (!ballot) return {place, 0, 0, {}, {0, 0}, 0.0, 0, 0, false, {}, {}};
    rxVoteImage image = emptyImage(*ballot, place);
    image.votes.resize(static_cast<std::size_t>(image.width) *
                       static_cast<std::size_t>(image.height));
    const std::vector<std::uint8_t> marks = drawMarks(ballot->grid);
    const std::vector<std::int16_t>& weights = ballot->weights.scaled;
    std::vector<rxPair<long>> pixels;
    modelPixels(ballot->grid, *ballot->plan.model, place.scale, place.rotationDegrees, pixels);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const std::int64_t x = static_cast<std::int64_t>(pixels[i].x()) + image.firstStep.x();
        const std::int64_t y = static_cast<std::int64_t>(pixels[i].y()) + image.firstStep.y();
        addVotes(ballot->grid, marks, x, y, weights.empty() ? 1 : weights[i], image);
    }
    return image;
}

std::optional<rxVotePlace> rfBestVotePlace(const rxPointMatcher& matcher,
                                           const std::vector<rxVector<2>>& data,
                                           const rxPointMatcherRunParams& params) {
    const auto ballot = prepare(matcher, data, params);
    if (!ballot) return std::nullopt;
    const rx_PointMatcherModel& model = *ballot->plan.model;
    TranslationSearch search(ballot->grid, model, ballot->weights, ballot->plan.window);
    GroupSearch groups(ballot->grid, model, ballot->search, ballot->weights, ballot->plan.window,
                       search);
    std::optional<rxVotePlace> first;
    const OfferPeaks offerPeaks = [&](double scale, double degrees, long threshold,
                                      CoarseStore& store) {
        if (!first) first = {scale, degrees};
        groups.offerPeaks(scale, degrees, threshold, store);
    };
    // With room for one, a store keeps the first of the highest votes, maximum or not.
    constexpr long kOne = 1;
    constexpr long kAnyVote = 1;
    CoarseStore highest(model.totalWeight(), kOne);
    voteOverLattice(model, ballot->search, ballot->grid.gridSize, kAnyVote, offerPeaks, highest);
    if (highest.first() < 0) return first;
    return rxVotePlace{highest.current()->scale, highest.current()->rotationDegrees};
}

std::optional<rxVotePlace> rfNearestVotePlace(const rxPointMatcher& matcher,
                                              const std::vector<rxVector<2>>& data,
                                              const rxPointMatcherRunParams& params,
                                              const rxXform<2>& modelToData) {
    if (!modelToData.isFinite() || modelToData.isSingular()) {
        throw BadParams("a pose to vote near is finite and not singular\n");
    }
    const auto ballot = prepare(matcher, data, params);
    if (!ballot) return std::nullopt;
    const rx_PointMatcherModel& model = *ballot->plan.model;
    const rxXform<2> change = ballot->search.startPose().inverse() * modelToData;
    const double changeOfScale = change.xScale();
    const double turn = rxDegree(change.xRot()).toDouble();
    rxVotePlace place;
    place.scale =
        nearest(scaleLattice(ballot->search.scaleUncertainty(), model, ballot->grid.gridSize),
                [&](double scale) { return std::abs(scale - changeOfScale); });
    place.rotationDegrees =
        nearest(rotationLattice(ballot->search.rotationUncertainty(), model, place.scale,
                                ballot->grid.gridSize),
                [&](double degrees) { return std::abs(std::remainder(degrees - turn, 360.0)); });
    return place;
}
