#include <string>
#include <utility>

#include "ptmatch/grid_pattern.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/ppmatch.h"

namespace {

constexpr long kFewestPoints = 3;

// A mode without an enumerator. Training on points takes any but two, and a run treats all but
// eExhaustiveMode as the search by votes.
constexpr auto kModeOfSparseGrid = static_cast<rxPointMatcherDefs::Mode>(4);

std::vector<rxVector<2>> transformed(const rxXform<2>& xform,
                                     const std::vector<rxPair<long>>& positions) {
    std::vector<rxVector<2>> points;
    points.reserve(positions.size());
    for (const rxPair<long>& position : positions) points.push_back(xform * position);
    return points;
}

}  // namespace

void rxPointMatcher::train(const rxPelBuffer_const<unsigned char>& image) {
    untrain();
    if (!image.clientFromImageXform().isFinite()) {
        throw rxPointMatcherDefs::BadParams("The transform of the training image must be finite\n");
    }
    gridXform_ = image.clientFromImageXform();
    numGridPoints_ = ptmatch::detail::countGridPoints(image);
    if (numGridPoints_ < kFewestPoints) {
        throw rxPointMatcherDefs::InsufficientModelPoints(std::string());
    }

    const bool staggered = ptmatch::detail::isStaggeredPattern(image);
    auto corresponder = std::make_unique<rx_PointToGridCorresponder>();
    corresponder->train(image, rx_PointToGridCorresponderTrainParams(
                                   staggered, rx_PointToGridCorresponderDefs::eAllPoints));

    std::vector<rxPair<long>> positions = ptmatch::detail::gridPointsOf(image);
    auto gridMatcher = std::make_unique<rxPointMatcher>();
    if (ptmatch::detail::isSparsePattern(image, staggered)) {
        gridMatcher->train(transformed(gridXform_, positions), kModeOfSparseGrid);
    }

    corresponder_ = std::move(corresponder);
    gridMatcher_ = std::move(gridMatcher);
    gridPositions_ = std::move(positions);
}
