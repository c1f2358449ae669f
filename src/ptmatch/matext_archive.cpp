#include <cstddef>
#include <cstdint>
#include <utility>

#include "ptmatch/matext.h"

namespace {

constexpr unsigned long kVersion = 1100;
constexpr int kVersionCheckLine = 223;

// Memory grows with the elements that come, not with the number recorded.
std::vector<double> loadElements(rxArchive& ar, std::uint64_t count) {
    std::vector<double> elements;
    elements.reserve(ptmatch::detail::reservableElements(ar, count, sizeof(double)));
    for (std::uint64_t i = 0; i < count; ++i) {
        elements.emplace_back();
        ar || elements.back();
    }
    return elements;
}

std::uint64_t requireNumElements(long rows, long cols) {
    if (rows < 0 || cols < 0) throw rxArchive::Errors("matrix: a size is negative");
    return static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(cols);
}

}  // namespace

rxArchive& operator||(rxArchive& ar, rxMatrixExt& matrix) {
    unsigned long version = kVersion;
    ar || version;
    if (version != kVersion) {
        throw rxArchive::UnknownVersion("ptmatch/matext", kVersionCheckLine);
    }
    if (ar.isStoring()) return ar || matrix.cols_ || matrix.rows_ || matrix.data_;

    rxMatrixExt loaded;
    ar || loaded.cols_ || loaded.rows_;
    const std::uint64_t expected = requireNumElements(loaded.rows_, loaded.cols_);
    const std::uint64_t count =
        ptmatch::detail::passContainerHead(ar, 0, rx_MinimalRecordSize<double>::value);
    if (count != expected) {
        throw rxArchive::Errors("matrix: the number of elements is not rows x columns");
    }
    loaded.data_ = loadElements(ar, count);
    matrix = std::move(loaded);
    return ar;
}
