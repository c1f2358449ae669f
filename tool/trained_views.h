#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "grid_views.h"
#include "pattern_file.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::tool {

/// A position of the file as a pixel of the image that is trained for a view: cropped, and mirrored
/// along the steps that the view turns.
rxPair<long> toTrainedImage(const GridPattern& pattern, const GridView& view,
                            const rxPair<long>& position);

/// The matchers of one pattern: each view needs one of its own, which is trained when it is first
/// asked for. Any number of threads may ask, and run what they get. All that were trained are kept,
/// so this is for searches with the same steps.
class TrainedViews {
  public:
    /// @param pattern  the same in every call
    /// @throws rxPointMatcherDefs::Errors  the pattern cannot be trained in this view.
    std::shared_ptr<const rxPointMatcher> matcherFor(const GridPattern& pattern,
                                                     const GridView& view);

    /// How many were trained.
    std::size_t numTrained() const;

  private:
    struct Trained {
        GridView view;
        std::shared_ptr<const rxPointMatcher> matcher;
    };

    mutable std::mutex mutex_;
    std::vector<Trained> trained_;
};

}  // namespace ptmatch::tool
