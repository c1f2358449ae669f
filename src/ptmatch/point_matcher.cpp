#include <utility>

#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"

namespace {

template <class T>
std::unique_ptr<T> deepCopy(const std::unique_ptr<T>& source) {
    return source ? std::make_unique<T>(*source) : nullptr;
}

}  // namespace

rxPointMatcher::rxPointMatcher() = default;

rxPointMatcher::rxPointMatcher(const rxPointMatcher& other)
    : model_(deepCopy(other.model_)),
      gridXform_(other.gridXform_),
      numGridPoints_(other.numGridPoints_),
      gridMatcher_(deepCopy(other.gridMatcher_)),
      gridPositions_(other.gridPositions_) {}  // mode_ is not copied: deliberate

rxPointMatcher& rxPointMatcher::operator=(const rxPointMatcher& other) {
    rxPointMatcher copy(other);
    model_ = std::move(copy.model_);
    gridXform_ = copy.gridXform_;
    numGridPoints_ = copy.numGridPoints_;
    gridMatcher_ = std::move(copy.gridMatcher_);
    gridPositions_ = std::move(copy.gridPositions_);
    return *this;  // mode_ is not assigned: deliberate
}

rxPointMatcher::~rxPointMatcher() = default;

const rx_PointMatcherModel* rxPointMatcher::trainedModel_() const {
    return model_ && model_->isTrained() ? model_.get() : nullptr;
}

bool rxPointMatcher::isTrained() const {
    return trainedModel_() || mode_ == rxPointMatcherDefs::eExhaustiveMode;
}

rxPointMatcherDefs::Mode rxPointMatcher::trainMode() const {
    if (mode_ == rxPointMatcherDefs::eExhaustiveMode) return rxPointMatcherDefs::eExhaustiveMode;
    if (trainedModel_()) return rxPointMatcherDefs::ePointToPoint;
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

void rfExtractPointsFromPointMatcherResults(const rxPointMatcher& /*matcher*/,
                                            const std::vector<rxVector<2>>& /*data*/,
                                            const rxPointMatcherResult& /*result*/,
                                            const std::vector<rxVector<2>>& /*modelPoints*/,
                                            const std::vector<rxVector<2>>& /*dataPoints*/) {}
