#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "csv_points.h"
#include "pattern_source.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::tool {

/// A matcher in an archive: trained on points, on a grid pattern, or not at all.
struct MatcherContent {
    std::optional<PointTable> model;
    /// The cell size that runs use by themselves, model units; infinite when every point has a
    /// double. Only of points.
    std::optional<double> defaultGridSize;
    /// Trained on a grid pattern, which is in `grid`, unless `fault` says why it is not.
    bool isOfGrid = false;
    std::optional<PatternSource> grid;
    std::string fault;
};

/// One record of an archive.
struct ArchiveRecord {
    /// Its place in the file.
    std::size_t offset = 0;
    std::size_t size = 0;
    std::variant<MatcherContent, rxPointMatcherRunParams, rxPointMatcherResultSet,
                 rxPointMatcherResult, rxPtToGridMapRunParams, rxPtToGridMapResult>
        content;

    /// "matcher trained on points", "run parameters" and so on.
    std::string kind() const;
};

/// What a file holds, in its order.
struct ArchiveContent {
    std::string file;
    std::size_t bytes = 0;
    std::vector<ArchiveRecord> records;
};

/// Takes an archive apart. Records do not tell their kind: the first of the kinds is chosen with
/// which all of the rest can be read, up to the last byte. Of two kinds with the same bytes that is
/// the first in the list of ArchiveRecord. Nothing but zeros is no record.
/// @param name  what messages call it
/// @throws InputError  there is no way to read all of the bytes as records of these kinds, or there
///                     are more than 20000.
ArchiveContent parseArchive(std::string_view bytes, const std::string& name);

}  // namespace ptmatch::tool
