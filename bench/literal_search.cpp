#include "literal_search.h"

#include <algorithm>

#include "foundation/image_functions.h"
#include "literal_rows.h"
#include "ptmatch/block_pixels.h"
#include "ptmatch/point_matcher_model.h"

namespace ptmatch::bench {
namespace {

constexpr long kAlignment = 32;

// One axis of the overlap between the marks and the window that a model pixel looks at.
struct Overlap {
    long source;
    long destination;
    long length;
};

Overlap overlap(long start, long numVotes, long numMarks) {
    const long source = std::max(start, 0L);
    const long destination = source - start;
    return {source, destination, std::min(numVotes - destination, numMarks - source)};
}

}  // namespace

LiteralSearch::LiteralSearch(const detail::SearchGrid& grid, const rx_PointMatcherModel& model,
                             const detail::VoteWeights& weights, const rxPelRect& window)
    : grid_(grid),
      model_(model),
      weights_(weights),
      window_(window),
      marks_(grid.width, grid.height, kAlignment),
      votes_(window.width() + 1, window.height() + 1, kAlignment) {
    rfPelClear(marks_);
    for (const rxVector<2>& d : grid.data) {
        detail::forEachBlockPixel(detail::pixelOf(grid.imageFromModel * d), grid.width, grid.height,
                                  [&](long x, long y) { marks_.pointToRow(y)[x] = 1; });
    }
}

void LiteralSearch::addWindow_(const rxPair<long>& modelPixel, std::int16_t weight) {
    const Overlap x = overlap(window_.ul().x() + modelPixel.x(), votes_.width(), marks_.width());
    const Overlap y = overlap(window_.ul().y() + modelPixel.y(), votes_.height(), marks_.height());
    if (x.length <= 0) return;
    for (long row = 0; row < y.length; ++row) {
        const unsigned char* from = marks_.pointToRow(y.source + row) + x.source;
        short* to = votes_.pointToRow(y.destination + row) + x.destination;
        if (weight == 1) {
            addRow(from, x.length, to);
        } else {
            addWeightedRow(from, x.length, weight, to);
        }
    }
}

bool LiteralSearch::isPeak_(long x, long y) const {
    const short vote = votes_.pointToRow(y)[x];
    for (long dy = -1; dy <= 1; ++dy) {
        for (long dx = -1; dx <= 1; ++dx) {
            const bool isInside =
                x + dx >= 0 && x + dx < votes_.width() && y + dy >= 0 && y + dy < votes_.height();
            if (!isInside || (dx == 0 && dy == 0)) continue;
            const short other = votes_.pointToRow(y + dy)[x + dx];
            const bool mustBeat = dx < 0 || (dx == 0 && dy < 0);
            if (mustBeat ? other >= vote : other > vote) return false;
        }
    }
    return true;
}

void LiteralSearch::offerPeaks(double scale, double rotationDegrees, long threshold,
                               detail::CoarseStore& store) {
    detail::modelPixels(grid_, model_, scale, rotationDegrees, modelPixels_);
    rfPelClear(votes_);
    for (std::size_t i = 0; i < modelPixels_.size(); ++i) {
        addWindow_(modelPixels_[i], weights_.isWeighted() ? weights_.scaled[i] : std::int16_t{1});
    }
    if (threshold > 32767) return;
    const bool testsMaxima = store.capacity() >= 2 && votes_.width() >= 2 && votes_.height() >= 2;
    for (long y = 0; y < votes_.height(); ++y) {
        const short* row = votes_.pointToRow(y);
        if (!reaches(row, votes_.width(), static_cast<std::int16_t>(threshold))) continue;
        for (long x = 0; x < votes_.width(); ++x) {
            if (row[x] < threshold || (testsMaxima && !isPeak_(x, y))) continue;
            store.add(row[x], {window_.ul() + rxPair<long>(x, y), scale, rotationDegrees});
        }
    }
}

}  // namespace ptmatch::bench
