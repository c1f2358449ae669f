#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "foundation/geometry_archive.h"
#include "ptmatch/model_quantities.h"
#include "ptmatch/point_matcher_model.h"

namespace {

// Records of version 0 and 200009 end before the weights.
constexpr unsigned long kVersion = 1;
constexpr unsigned long kVersionsWithoutWeights[] = {0, 200009};
constexpr int kVersionCheckLine = 784;

using Points = std::vector<rxVector<2>>;
using Weights = std::vector<long>;

bool hasWeights(unsigned long version) {
    if (version == kVersion) return true;
    if (std::ranges::count(kVersionsWithoutWeights, version) != 0) return false;
    throw rxArchive::UnknownVersion("ptmatch/ppmatch", kVersionCheckLine);
}

void require(bool consistent, const char* message) {
    if (!consistent) throw rxArchive::Errors(message);
}

double largestMagnitude(const Points& points) {
    double largest = 0.0;
    for (const rxVector<2>& point : points) {
        largest = std::max({largest, std::abs(point.x()), std::abs(point.y())});
    }
    return largest;
}

long sumOfPositive(const Weights& weights) {
    long sum = 0;
    for (const long weight : weights) sum += std::max(weight, 0L);
    return sum;
}

/// Whether recorded quantities are those of the points, up to the rounding of whoever wrote them:
/// each takes a handful of operations on coordinates, and each operation errs by at most half an
/// eps of the largest of them.
bool agree(const ptmatch::detail::PointExtent& recorded,
           const ptmatch::detail::PointExtent& derived, double largest) {
    const double tolerance = 16 * std::numeric_limits<double>::epsilon() * largest;
    const auto close = [tolerance](double a, double b) {
        return a == b || std::abs(a - b) <= tolerance;  // the first for equal infinities
    };
    return close(recorded.bounds.x(), derived.bounds.x()) &&
           close(recorded.bounds.y(), derived.bounds.y()) &&
           close(recorded.bounds.width(), derived.bounds.width()) &&
           close(recorded.bounds.height(), derived.bounds.height()) &&
           close(recorded.center.x(), derived.center.x()) &&
           close(recorded.center.y(), derived.center.y()) && close(recorded.radius, derived.radius);
}

}  // namespace

void rx_PointMatcherModel::settleLoaded_() {
    require(ptmatch::detail::allFinite(modelPoints_),
            "point matcher model: a coordinate is not finite");
    require(weights_.empty() || weights_.size() == modelPoints_.size(),
            "point matcher model: the numbers of points and weights differ");
    const long expectedWeight =
        isWeighted() ? sumOfPositive(weights_) : static_cast<long>(modelPoints_.size());
    require(totalWeight_ == expectedWeight,
            "point matcher model: the total weight is not that of the points");
    if (!trained_) return;

    require(modelPoints_.size() >= 3, "point matcher model: trained on fewer than 3 points");
    require(!isWeighted() || std::ranges::count_if(weights_, [](long w) { return w > 0; }) >= 2,
            "point matcher model: trained with fewer than two positive weights");
    require(defaultGridSize_ > 0.0, "point matcher model: the grid size is not above 0");
    require(agree({modelBounds_, modelCenter_, modelRadius_},
                  ptmatch::detail::pointExtent(modelPoints_), largestMagnitude(modelPoints_)),
            "point matcher model: the bounds, centre or radius are not those of the points");
    // What differs by rounding only is replaced, so that a search can rely on every sign and order.
    deriveExtent_();
}

rxArchive& operator||(rxArchive& ar, rx_PointMatcherModel& model) {
    unsigned long version = kVersion;
    ar || version;
    const bool withWeights = hasWeights(version);

    rx_PointMatcherModel loaded;  // taken over only when it was read and found consistent
    rx_PointMatcherModel& value = ar.isLoading() ? loaded : model;
    ar || value.trained_ || value.defaultGridSize_;
    rf_PersistenceHelper(ar, value.modelBounds_);
    ar || value.modelCenter_ || value.modelPoints_ || value.modelRadius_;
    if (withWeights) {
        ar || value.weights_ || value.totalWeight_;
    } else {
        value.totalWeight_ = static_cast<long>(value.modelPoints_.size());
    }
    if (ar.isLoading()) {
        loaded.settleLoaded_();
        model = std::move(loaded);
    }
    return ar;
}
