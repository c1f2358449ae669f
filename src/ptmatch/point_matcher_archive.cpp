#include <string>
#include <utility>

#include "foundation/geometry_archive.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"

namespace {

constexpr unsigned long kVersion = 200009;
constexpr int kVersionCheckLine = 2890;

/// A part that may be absent: whether it is there, then its own record.
template <class T>
void passOptional(rxArchive& ar, std::unique_ptr<T>& part) {
    long present = part ? 1 : 0;
    ar || present;
    if (present == 0) return;
    if (ar.isLoading()) part = std::make_unique<T>();
    ar || *part;
}

}  // namespace

void rxPointMatcher::adopt_(rxPointMatcher& loaded) noexcept {
    if (loaded.model_) model_ = std::move(loaded.model_);
    if (loaded.corresponder_) corresponder_ = std::move(loaded.corresponder_);
    if (loaded.gridMatcher_) {
        if (gridMatcher_) {
            gridMatcher_->adopt_(*loaded.gridMatcher_);
        } else {
            gridMatcher_ = std::move(loaded.gridMatcher_);
        }
    }
    gridXform_ = loaded.gridXform_;
    numGridPoints_ = loaded.numGridPoints_;
    gridPositions_ = std::move(loaded.gridPositions_);
}

rxArchive& operator||(rxArchive& ar, rxPointMatcher& matcher) {
    const rxArchive::NestingGuard nesting(ar);  // a matcher can hold a matcher
    unsigned long version = kVersion;
    ar || version;
    if (version > kVersion) throw rxArchive::UnknownVersion("ptmatch/ppmatch", kVersionCheckLine);

    rxPointMatcher loaded;  // its parts are taken over only when all were read and fit together
    rxPointMatcher& value = ar.isLoading() ? loaded : matcher;
    passOptional(ar, value.model_);
    passOptional(ar, value.corresponder_);
    passOptional(ar, value.gridMatcher_);
    ar || value.gridXform_ || value.numGridPoints_ || value.gridPositions_;
    if (ar.isLoading()) {
        if (const char* contradiction = loaded.gridContradiction_()) {
            throw rxArchive::Errors(std::string("point matcher: ") + contradiction);
        }
        matcher.adopt_(loaded);
    }
    return ar;
}
