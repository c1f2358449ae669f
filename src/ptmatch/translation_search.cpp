#include "ptmatch/translation_search.h"

#include <algorithm>
#include <bit>

#include "foundation/assertion.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/search_memory.h"
#include "ptmatch/tile_bounds.h"
#include "ptmatch/vote_kernel_choice.h"

namespace ptmatch::detail {
namespace {

// A store with so little room left may soon be full, and then raises the threshold for all that
// follows: parts are small until it stays where it is.
constexpr long kLittleRoom = 64;

std::vector<rxPair<long>> pixelsOf(const SearchGrid& grid) {
    std::vector<rxPair<long>> pixels;
    pixels.reserve(grid.data.size());
    for (const rxVector<2>& d : grid.data) pixels.push_back(pixelOf(grid.imageFromModel * d));
    return pixels;
}

}  // namespace

TranslationSearch::TranslationSearch(const SearchGrid& grid, const rx_PointMatcherModel& model,
                                     const VoteWeights& weights, const rxPelRect& window)
    : grid_(grid),
      model_(model),
      window_(window),
      width_(window.width() + 1),
      height_(window.height() + 1),
      dataPixels_(pixelsOf(grid)),
      points_(model.points().size(), weights.scaled),
      counter_(voteKernel()),
      negativeCounter_(voteKernel()),
      bandsPerPart_((rowsPerPart(width_, height_) + kBlockRows - 1) / kBlockRows),
      rows_(width_, rowsPerPart(width_, height_)),
      planner_(width_, height_, bitmap_(0).density(), model.points().size(), weights,
               affordableTiles(grid, window)),
      canVote_(!weights.isWeighted() || weights.scaled.size() == model.points().size()) {
    if (!canVote_) rfReportAssertion(__LINE__);
    modelPixels_.reserve(model.points().size());
    flags_(0);
}

MarkBitmap& TranslationSearch::bitmap_(std::size_t shape) {
    std::optional<MarkBitmap>& bitmap = bitmaps_[shape];
    if (!bitmap) bitmap.emplace(kTileShapes[shape], grid_.width, grid_.height, dataPixels_);
    return *bitmap;
}

BlockFlags& TranslationSearch::flags_(std::size_t shape) {
    std::optional<BlockFlags>& flags = blockFlags_[shape];
    if (!flags) flags.emplace(TileExtent(kTileShapes[shape], width_, height_));
    return *flags;
}

void TranslationSearch::offerPeaks(double scale, double rotationDegrees, long threshold,
                                   CoarseStore& store) {
    if (!canVote_) return;
    place_(scale, rotationDegrees);
    const std::size_t shape = planner_.shapeFor(threshold);
    flags_(shape).setAll();
    descend_(shape, threshold);
    harvest_(scale, rotationDegrees, threshold, store);
}

void TranslationSearch::offerPeaksWithin(std::size_t shape, std::span<const std::uint32_t> blocks,
                                         double scale, double rotationDegrees, long threshold,
                                         CoarseStore& store) {
    if (!canVote_) return;
    place_(scale, rotationDegrees);
    flags_(shape).setOnly(blocks);
    descend_(shape, threshold);
    harvest_(scale, rotationDegrees, threshold, store);
}

void TranslationSearch::place_(double scale, double rotationDegrees) {
    modelPixels(grid_, model_, scale, rotationDegrees, modelPixels_);
    points_.place(modelPixels_, window_.ul());
}

// From tiles of a shape, as far as they are flagged, down to the translations that may reach the
// threshold, block by block.
void TranslationSearch::descend_(std::size_t shape, long threshold) {
    for (; shape > 0; shape = kTileShapes[shape].next) {
        const BlockFlags& flags = flags_(shape);
        BlockFlags& next = flags_(kTileShapes[shape].next);
        MarkBitmap& bitmap = bitmap_(shape);
        counter_.prepare(bitmap, points_.positive());
        boundTiles(kTileShapes[shape], flags, threshold, counter_, next);
        bitmap.addUse(counter_.takeNumViews());
        if (flags.isFull()) planner_.learn(shape, threshold, next.numFlagged());
    }
}

// Counts the flagged blocks of translations and offers their peaks, a part of the window at a time.
void TranslationSearch::harvest_(double scale, double rotationDegrees, long threshold,
                                 CoarseStore& store) {
    const BlockFlags& flags = flags_(0);
    const long bands = flags.extent().bands;
    const PeakRule rule = store.capacity() >= 2 && width_ >= 2 && height_ >= 2
                              ? PeakRule::LocalMaxima
                              : PeakRule::EveryVote;
    counter_.prepare(bitmap_(0), points_.positive());
    if (points_.hasNegative()) negativeCounter_.prepare(bitmap_(0), points_.negative());
    const bool isFullSoon = !store.isFull() && store.capacity() - store.numResults() < kLittleRoom;
    long numBands = isFullSoon ? 1 : bandsPerPart_;
    for (long band = flags.nextBand(0, bands); band < bands;) {
        const long end = std::min(bands, band + numBands);
        const long thresholdBefore = threshold;
        countPart_(band, end, threshold);
        if (rows_.hasVotes()) {
            const long firstRow = band * kBlockRows;
            const long numRows = std::min((end - band) * kBlockRows, height_ - firstRow);
            rows_.forEachPeak(numRows, end == bands, rule, [&](long row, long column, long vote) {
                const rxPair<long> shift(column, firstRow + row);
                store.add(vote, {window_.ul() + shift, scale, rotationDegrees});
            });
            if (end == bands) {
                rows_.clear(numRows);
            } else {
                rows_.advance(numRows);
            }
            threshold = std::max(threshold, voteThreshold(store, threshold));
        }
        if (threshold == thresholdBefore) numBands = std::min(2 * numBands, bandsPerPart_);
        // Rows that wait for the next ones have to meet them, flagged or not.
        band = rows_.hasVotes() ? end : flags.nextBand(end, bands);
    }
    bitmap_(0).addUse(counter_.takeNumViews() + negativeCounter_.takeNumViews());
}

void TranslationSearch::countPart_(long firstBand, long endBand, long threshold) {
    const BlockFlags& flags = flags_(0);
    for (long strip = 0; strip < flags.extent().strips; ++strip) {
        long band = flags.nextInStrip(strip, firstBand, endBand);
        if (band == endBand) continue;
        counter_.aimAt(strip);
        if (points_.hasNegative()) negativeCounter_.aimAt(strip);
        for (; band < endBand; band = flags.nextInStrip(strip, band + 1, endBand)) {
            if (counter_.count(band, threshold)) enterSurvivors_(strip, band, firstBand, threshold);
        }
    }
}

void TranslationSearch::enterSurvivors_(long strip, long band, long firstBand, long threshold) {
    const long columnsLeft = width_ - 64 * strip;
    const std::uint64_t inside =
        columnsLeft >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << columnsLeft) - 1;
    const int numRows = static_cast<int>(std::min<long>(kBlockRows, height_ - kBlockRows * band));
    const bool subtracts = points_.hasNegative() && negativeCounter_.count(band, 0);
    for (int row = 0; row < numRows; ++row) {
        for (std::uint64_t left = counter_.survivors(row) & inside; left != 0; left &= left - 1) {
            const int column = std::countr_zero(left);
            const long vote = counter_.voteAt(row, column) -
                              (subtracts ? negativeCounter_.voteAt(row, column) : 0);
            if (vote < threshold) continue;
            rows_.enter((band - firstBand) * kBlockRows + row, 64 * strip + column,
                        static_cast<std::int32_t>(vote));
        }
    }
}

long voteThreshold(const CoarseStore& store, long whileRoomIsLeft) {
    return store.isFull() ? store.lowestScore() + 1 : whileRoomIsLeft;
}

void candidatePixels(const SearchGrid& grid, const rx_PointMatcherModel& model,
                     const CoarseCandidate& candidate, std::vector<rxPair<long>>& pixels) {
    modelPixels(grid, model, candidate.scale, candidate.rotationDegrees, pixels);
    for (rxPair<long>& pixel : pixels) {
        pixel = {pixel.x() + candidate.translation.x(), pixel.y() + candidate.translation.y()};
    }
}

}  // namespace ptmatch::detail
