#include <cstdint>
#include <utility>

#include "foundation/geometry_archive.h"
#include "ptmatch/gridcorr.h"

namespace {

constexpr unsigned long kVersion = 1100;
constexpr int kTrainParamsVersionCheckLine = 59;
constexpr int kRunParamsVersionCheckLine = 77;
constexpr int kResultVersionCheckLine = 96;
constexpr int kResultSetVersionCheckLine = 115;
constexpr int kToolVersionCheckLine = 625;

using ProbePt = rx_PointToGridCorresponder::ProbePt;

constexpr std::uint64_t kProbeRecordSize = 8 + 1;

void passVersion(rxArchive& ar, int line) {
    unsigned long version = kVersion;
    ar || version;
    if (version != kVersion) throw rxArchive::UnknownVersion("ptmatch/gridcorr", line);
}

void storeProbes(rxArchive& ar, std::vector<ProbePt>& probes) {
    long count = static_cast<long>(probes.size());
    ar || count;
    for (ProbePt& probe : probes) ar || probe.position || probe.expected;
}

std::vector<ProbePt> loadProbes(rxArchive& ar) {
    long count = 0;
    ar || count;
    if (count < 0) throw rxArchive::Errors("grid corresponder: a negative number of probes");
    const auto wanted = static_cast<std::uint64_t>(count);
    ar.expectElements(wanted, kProbeRecordSize, "probes");
    std::vector<ProbePt> probes;
    probes.reserve(ptmatch::detail::reservableElements(ar, wanted, sizeof(ProbePt)));
    for (std::uint64_t i = 0; i < wanted; ++i) {
        ProbePt probe;
        ar || probe.position || probe.expected;
        probes.push_back(probe);
    }
    return probes;
}

void requirePatternRect(const rxPelBuffer<unsigned char>& pattern, const rxPelRect& rect) {
    // As the default constructor leaves them; no other rectangle has an image without pixels.
    if (pattern.size() == rxPair<long>() && rect == rxPelRect()) return;
    if (pattern.width() != rect.width() + 1 || pattern.height() != rect.height() + 1 ||
        !(pattern.offset() == rect.ul())) {
        throw rxArchive::Errors("grid corresponder: the rectangle is not that of the pattern");
    }
}

void requireProbesWithin(const std::vector<ProbePt>& probes, const rxPair<long>& size) {
    // The place of the probe before, in raster order.
    std::int64_t before = -1;
    for (const ProbePt& probe : probes) {
        const rxPair<long>& p = probe.position;
        if (p.x() < 0 || p.x() >= size.x() || p.y() < 0 || p.y() >= size.y()) {
            throw rxArchive::Errors("grid corresponder: a probe lies outside the pattern");
        }
        const std::int64_t place = std::int64_t{p.y()} * size.x() + p.x();
        if (place <= before) {
            throw rxArchive::Errors("grid corresponder: the probes are not in raster order");
        }
        before = place;
    }
}

}  // namespace

rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderTrainParams& params) {
    passVersion(ar, kTrainParamsVersionCheckLine);
    bool staggered = params.staggered_;
    int featureType = params.featureType_;
    ar || staggered || featureType;
    if (ar.isLoading()) {
        params.staggered_ = staggered;
        params.featureType_ = static_cast<rx_PointToGridCorresponderDefs::FeatureType>(featureType);
    }
    return ar;
}

rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderRunParams& params) {
    passVersion(ar, kRunParamsVersionCheckLine);
    rx_PointToGridCorresponderRunParams loaded;  // taken over only when the whole record was read
    rx_PointToGridCorresponderRunParams& value = ar.isLoading() ? loaded : params;
    ar || value.maxNumResults_ || value.accept_ || value.confusion_;
    if (ar.isLoading()) params = loaded;
    return ar;
}

rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderResult& result) {
    passVersion(ar, kResultVersionCheckLine);
    rx_PointToGridCorresponderResult loaded;  // as above, here and below
    rx_PointToGridCorresponderResult& value = ar.isLoading() ? loaded : result;
    ar || value.found_ || value.score_ || value.position_;
    if (ar.isLoading()) result = loaded;
    return ar;
}

rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponderResultSet& resultSet) {
    passVersion(ar, kResultSetVersionCheckLine);
    rx_PointToGridCorresponderResultSet loaded;
    rx_PointToGridCorresponderResultSet& value = ar.isLoading() ? loaded : resultSet;
    ar || value.time_ || value.results_;
    if (ar.isLoading()) resultSet = std::move(loaded);
    return ar;
}

rxArchive& operator||(rxArchive& ar, rx_PointToGridCorresponder& tool) {
    passVersion(ar, kToolVersionCheckLine);
    rx_PointToGridCorresponder loaded;
    rx_PointToGridCorresponder& value = ar.isLoading() ? loaded : tool;
    ar || value.trainParams_ || value.pattern_;
    rf_PersistenceHelper(ar, value.patternRect_);
    if (ar.isStoring()) {
        storeProbes(ar, tool.probes_);
        return ar;
    }
    loaded.probes_ = loadProbes(ar);
    requirePatternRect(loaded.pattern_, loaded.patternRect_);
    requireProbesWithin(loaded.probes_, loaded.pattern_.size());
    tool.trainParams_ = loaded.trainParams_;
    tool.pattern_ = loaded.pattern_;
    tool.patternRect_ = loaded.patternRect_;
    tool.probes_ = std::move(loaded.probes_);
    return ar;
}
