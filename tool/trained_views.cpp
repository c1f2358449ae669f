#include "trained_views.h"

#include <algorithm>

#include "foundation/image.h"
#include "foundation/image_functions.h"

namespace ptmatch::tool {
namespace {

rxPelBuffer_const<unsigned char> imageOf(const GridPattern& pattern, const GridView& view) {
    rxPelBuffer<unsigned char> image(pattern.width, pattern.height, 1);
    rfPelClear(image);
    for (const rxPair<long>& position : pattern.positions) {
        const rxPair<long> pixel = toTrainedImage(pattern, view, position);
        image.put(pixel.x(), pixel.y(), 1);
    }
    image.clientFromImageXform(rxXform<2>(
        rxMatrix<2>(view.steps.xv.x(), view.steps.yv.x(), view.steps.xv.y(), view.steps.yv.y()),
        rxVector<2>()));
    return image;
}

// The rotations allowed around the steps are no matter of training.
bool needSameMatcher(const GridView& a, const GridView& b) {
    return a.steps.xv == b.steps.xv && a.steps.yv == b.steps.yv && a.turnsX == b.turnsX &&
           a.turnsY == b.turnsY;
}

}  // namespace

rxPair<long> toTrainedImage(const GridPattern& pattern, const GridView& view,
                            const rxPair<long>& position) {
    const rxPair<long> p = position - pattern.corner;
    return {view.turnsX ? pattern.width - 1 - p.x() : p.x(),
            view.turnsY ? pattern.height - 1 - p.y() : p.y()};
}

std::shared_ptr<const rxPointMatcher> TrainedViews::matcherFor(const GridPattern& pattern,
                                                               const GridView& view) {
    const std::lock_guard lock(mutex_);  // others wait for what they would have to train, too
    const auto known = std::find_if(trained_.begin(), trained_.end(), [&](const Trained& trained) {
        return needSameMatcher(trained.view, view);
    });
    if (known != trained_.end()) return known->matcher;
    const auto matcher = std::make_shared<rxPointMatcher>();
    matcher->train(imageOf(pattern, view));
    trained_.push_back({view, matcher});
    return matcher;
}

std::size_t TrainedViews::numTrained() const {
    const std::lock_guard lock(mutex_);
    return trained_.size();
}

}  // namespace ptmatch::tool
