#include "ptmatch/gridcorr.h"

#include <utility>

#include "foundation/image_functions.h"

namespace {

constexpr long kRowAlignment = 32;

/// An image of the same pixels in a store of its own; the assignment of images shares the store.
rxPelBuffer<unsigned char> deepCopy(const rxPelBuffer<unsigned char>& image) {
    rxPelBuffer<unsigned char> copy(image.width(), image.height(), kRowAlignment);
    rfPelCopy(image, copy);
    copy.offset(image.offset());
    copy.clientFromImageXform(image.clientFromImageXform());
    return copy;
}

}  // namespace

rx_PointToGridCorresponderResultSet& rx_PointToGridCorresponderResultSet::operator=(
    const rx_PointToGridCorresponderResultSet& other) {
    return *this = rx_PointToGridCorresponderResultSet(other);
}

rx_PointToGridCorresponder::rx_PointToGridCorresponder(const rx_PointToGridCorresponder& other)
    : trainParams_(other.trainParams_),
      pattern_(deepCopy(other.pattern_)),
      patternRect_(other.patternRect_),
      probes_(other.probes_) {}

rx_PointToGridCorresponder& rx_PointToGridCorresponder::operator=(
    const rx_PointToGridCorresponder& other) {
    if (this == &other) return *this;
    rx_PointToGridCorresponder copy(other);  // all that can fail
    trainParams_ = copy.trainParams_;
    pattern_ = copy.pattern_;
    patternRect_ = copy.patternRect_;
    probes_ = std::move(copy.probes_);
    return *this;
}

void rx_PointToGridCorresponder::untrain() {
    probes_.clear();
}
