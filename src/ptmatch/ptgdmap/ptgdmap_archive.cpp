#include <utility>

#include "foundation/geometry_archive.h"
#include "ptmatch/ptgdmap.h"

namespace {

constexpr unsigned long kVersion = 1100;
constexpr const char* kSource = "ptmatch/ptgdmap";
constexpr int kParamsVersionCheckLine = 59;
constexpr int kResultVersionCheckLine = 81;

}  // namespace

// Both records are read into a copy, which replaces the object only when all of it was read.

rxArchive& operator||(rxArchive& ar, rxPtToGridMapRunParams& params) {
    unsigned long version = kVersion;
    ar || version;
    if (version != kVersion) throw rxArchive::UnknownVersion(kSource, kParamsVersionCheckLine);

    rxPtToGridMapRunParams value = params;
    ar || value.xv_ || value.yv_ || value.staggered_ || value.snapSize_ || value.sizeTol_ ||
        value.angleTol_;
    if (ar.isLoading()) params = value;
    return ar;
}

rxArchive& operator||(rxArchive& ar, rxPtToGridMapResult& result) {
    unsigned long version = kVersion;
    ar || version;
    if (version != kVersion) throw rxArchive::UnknownVersion(kSource, kResultVersionCheckLine);

    if (ar.isStoring()) {
        return ar || result.valid_ || result.time_ || result.grid2point_ || result.map_;
    }
    rxPtToGridMapResult value;
    ar || value.valid_ || value.time_ || value.grid2point_ || value.map_;
    result = std::move(value);
    return ar;
}
