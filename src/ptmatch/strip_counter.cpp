#include "ptmatch/strip_counter.h"

#include <algorithm>
#include <bit>

namespace ptmatch::detail {

// A point stands once for every digit of its weight.
void StripCounter::makeRoom_(const PlacedPoints::Digits& points) {
    std::size_t numEntries = 0;
    for (const std::vector<PlacedPoint>& ofDigit : points) numEntries += ofDigit.size();
    watchers_.reserve(numEntries);
    views_.resize(numEntries);
    rows_.resize(numEntries);
    digitEnds_.reserve(points.size());
    digits_.reserve(points.size());
    groups_.reserve(points.size());
}

void StripCounter::prepare(const MarkBitmap& bitmap, const PlacedPoints::Digits& points) {
    bitmap_ = &bitmap;
    makeRoom_(points);
    watchers_.clear();
    digitEnds_.clear();
    for (const std::vector<PlacedPoint>& ofDigit : points) {
        for (const PlacedPoint& point : ofDigit) {
            const MarkBitmap::Sight sight = bitmap.sightFrom(point.x, point.y, point.layer);
            watchers_.push_back({bitmap.view(sight), sight.column, sight.row});
        }
        digitEnds_.push_back(watchers_.size());
    }
}

void StripCounter::aimAt(long strip) {
    const std::int64_t right = std::int64_t{64} * strip;
    stripOffset_ = strip * bitmap_->stripSize();
    digits_.clear();
    std::size_t end = 0;
    std::size_t watcher = 0;
    for (const std::size_t digitEnd : digitEnds_) {
        const std::size_t begin = end;
        for (; watcher < digitEnd; ++watcher) {
            const Watcher& from = watchers_[watcher];
            // Written in any case, and kept if it counts: there is no telling in advance.
            views_[end] = from.view;
            rows_[end] = from.row;
            end += bitmap_->meetsColumns(from.column + right) ? 1 : 0;
        }
        digits_.push_back({begin, end, end});
    }
}

// The points are sorted by row, so those that meet a band are a range, which moves towards the
// beginning as the band moves down.
void StripCounter::narrowTo_(long band, Digit& digit) const {
    const std::int64_t down = std::int64_t{kBlockRows} * band;
    while (digit.liveEnd > digit.begin && !(rows_[digit.liveEnd - 1] + down < bitmap_->rows())) {
        --digit.liveEnd;
    }
    digit.liveBegin = std::min(digit.liveBegin, digit.liveEnd);
    while (digit.liveBegin > digit.begin && rows_[digit.liveBegin - 1] + down > -kBlockRows) {
        --digit.liveBegin;
    }
}

bool StripCounter::count(long band, long threshold) {
    groups_.clear();
    long total = 0;
    for (Digit& digit : digits_) {
        narrowTo_(band, digit);
        total = 2 * total + static_cast<long>(digit.liveEnd - digit.liveBegin);
    }
    if (total < threshold) return false;
    long lighter = total;
    for (std::size_t i = 0; i < digits_.size(); ++i) {
        const Digit& digit = digits_[i];
        lighter -= static_cast<long>(digit.liveEnd - digit.liveBegin) << (digits_.size() - 1 - i);
        numViews_ += static_cast<std::int64_t>(digit.liveEnd - digit.liveBegin);
        groups_.push_back(
            {views_.data() + digit.liveBegin, views_.data() + digit.liveEnd, lighter});
    }
    numPlanes_ =
        std::max(1U, static_cast<unsigned>(std::bit_width(static_cast<unsigned long>(total))));
    const VoteBlock block{groups_.data(),
                          static_cast<unsigned>(groups_.size()),
                          numPlanes_,
                          bitmap_->words(),
                          stripOffset_ + std::ptrdiff_t{kBlockRows} * band,
                          bitmap_->stride(),
                          threshold};
    return countBlock_(block, planes_, survivors_);
}

}  // namespace ptmatch::detail
