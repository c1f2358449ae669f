#include "ptmatch/point_matcher_result.h"

#include <cstdint>
#include <utility>

#include "foundation/geometry_archive.h"

namespace {

constexpr unsigned long kVersion = 200009;
constexpr int kResultVersionCheckLine = 2259;
constexpr int kResultSetVersionCheckLine = 2310;

/// Modes are recorded as 32 unsigned bits; a value without an enumerator keeps its bits.
void serializeMode(rxArchive& ar, rxPointMatcherDefs::Mode& mode) {
    unsigned long bits = static_cast<std::uint32_t>(mode);
    if (ar.isLoading()) {
        ar >> bits;
        mode = static_cast<rxPointMatcherDefs::Mode>(
            static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
    } else {
        ar || bits;
    }
}

}  // namespace

rxPointMatcherResult& rxPointMatcherResult::operator=(const rxPointMatcherResult& other) {
    return *this = rxPointMatcherResult(other);
}

rxPointMatcherResultSet& rxPointMatcherResultSet::operator=(const rxPointMatcherResultSet& other) {
    return *this = rxPointMatcherResultSet(other);
}

const std::vector<long>& rxPointMatcherResult::modelToDataMap() const {
    if (runMode_ != rxPointMatcherDefs::ePointToPoint &&
        runMode_ != rxPointMatcherDefs::eExhaustiveMode) {
        throw rxPointMatcherDefs::NotRun(
            "rxPointMatcherResult was not run in mode ePointToGrid or eExhaustiveMode\n");
    }
    return modelToDataMap_;
}

long rxPointMatcherResult::gridToDataMap(const rxPair<long>& position) const {
    if (runMode_ != rxPointMatcherDefs::ePointToGrid) {
        throw rxPointMatcherDefs::NotRun("rxPointMatcherResult was not run in mode ePointToGrid\n");
    }
    return gridToDataMap_.get(position);
}

rxArchive& operator||(rxArchive& ar, rxPointMatcherResult& result) {
    unsigned long version = kVersion;
    ar || version;
    if (version > kVersion) {
        throw rxArchive::UnknownVersion("ptmatch/ppmatch", kResultVersionCheckLine);
    }

    rxPointMatcherResult loaded;  // taken over only when the whole record was read
    rxPointMatcherResult& value = ar.isLoading() ? loaded : result;
    serializeMode(ar, value.runMode_);
    ar || value.modelToDataXform_ || value.modelToDataMap_ || value.coverage_ || value.fitError_ ||
        value.gridToDataMap_;
    if (ar.isLoading()) result = std::move(loaded);
    return ar;
}

rxArchive& operator||(rxArchive& ar, rxPointMatcherResultSet& resultSet) {
    unsigned long version = kVersion;
    ar || version;
    if (version > kVersion) {
        throw rxArchive::UnknownVersion("ptmatch/ppmatch", kResultSetVersionCheckLine);
    }

    rxPointMatcherResultSet loaded;  // taken over only when the whole record was read
    rxPointMatcherResultSet& value = ar.isLoading() ? loaded : resultSet;
    ar || value.time_ || value.results_;
    if (ar.isLoading()) resultSet = std::move(loaded);
    return ar;
}
