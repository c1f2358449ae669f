#include <string>
#include <utility>

#include "ptmatch/gridcorr.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"

namespace {

template <class T>
std::unique_ptr<T> deepCopy(const std::unique_ptr<T>& source) {
    if (!source) return nullptr;
    return std::make_unique<T>(*source);
}

}  // namespace

rxPointMatcher::rxPointMatcher() = default;

rxPointMatcher::rxPointMatcher(const rxPointMatcher& other) : rxPointMatcher() {
    *this = other;
}

rxPointMatcher& rxPointMatcher::operator=(const rxPointMatcher& other) {
    // Everything that can throw comes first; the old parts go when the new ones stand.
    std::unique_ptr<rx_PointMatcherModel> model = deepCopy(other.model_);
    std::unique_ptr<rx_PointToGridCorresponder> corresponder = deepCopy(other.corresponder_);
    std::unique_ptr<rxPointMatcher> gridMatcher = deepCopy(other.gridMatcher_);
    std::vector<rxPair<long>> gridPositions = other.gridPositions_;
    model_ = std::move(model);
    gridXform_ = other.gridXform_;
    numGridPoints_ = other.numGridPoints_;
    corresponder_ = std::move(corresponder);
    gridMatcher_ = std::move(gridMatcher);
    gridPositions_ = std::move(gridPositions);
    return *this;  // mode_ is not assigned: deliberate
}

rxPointMatcher::~rxPointMatcher() = default;

const rx_PointMatcherModel* rxPointMatcher::trainedModel_() const {
    return model_ && model_->isTrained() ? model_.get() : nullptr;
}

bool rxPointMatcher::isTrained() const {
    return trainedModel_() || corresponder_ || mode_ == rxPointMatcherDefs::eExhaustiveMode;
}

rxPointMatcherDefs::Mode rxPointMatcher::trainMode() const {
    if (mode_ == rxPointMatcherDefs::eExhaustiveMode) return rxPointMatcherDefs::eExhaustiveMode;
    if (trainedModel_()) return rxPointMatcherDefs::ePointToPoint;
    if (corresponder_) return rxPointMatcherDefs::ePointToGrid;
    throw rxPointMatcherDefs::NotTrained("rxPointMatcher tool is not trained\n");
}

const std::vector<rxVector<2>>& rxPointMatcher::modelPoints() const {
    const rx_PointMatcherModel* model = trainedModel_();
    if (!model) {
        throw rxPointMatcherDefs::NotTrained(
            "rxPointMatcher tool is not trained in mode ePointToPoint\n");
    }
    return model->points();
}

std::vector<long> rxPointMatcher::weights() const {
    const rx_PointMatcherModel* model = trainedModel_();
    // Unlike modelPoints(), not for a matcher trained with eExhaustiveMode: deliberate.
    if (!model || trainMode() != rxPointMatcherDefs::ePointToPoint) {
        throw rxPointMatcherDefs::NotTrained(
            "rxPointMatcher tool is not trained in mode ePointToPoint\n");
    }
    if (model->isWeighted()) return model->weights();
    return std::vector<long>(model->points().size(), 1);
}

const rxPelBuffer<unsigned char>& rxPointMatcher::pattern() const {
    if (!isTrained() || trainMode() != rxPointMatcherDefs::ePointToGrid) {
        throw rxPointMatcherDefs::NotTrained(std::string());
    }
    return corresponder_->pattern();
}

void rfExtractPointsFromPointMatcherResults(const rxPointMatcher& /*matcher*/,
                                            const std::vector<rxVector<2>>& /*data*/,
                                            const rxPointMatcherResult& /*result*/,
                                            const std::vector<rxVector<2>>& /*modelPoints*/,
                                            const std::vector<rxVector<2>>& /*dataPoints*/) {}
