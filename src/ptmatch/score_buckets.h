#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

#include "foundation/assertion.h"

namespace ptmatch::detail {

/// Keeps the best `capacity` of a stream of scored entries, without sorting them.
///
/// The candidate stores of the pose search. `rxScoreHashing` keeps positions under the same rules
/// in storage taken up front; here memory follows what is held, so that a score range of 2e9 or a
/// capacity of 1e9 costs nothing by itself.
///
/// 1. A score below 0 or above `maxScore()` is refused; one above is also reported to the assertion
///    hook, because the search should never produce it.
/// 2. A full store refuses what does not beat its lowest score: a tie never displaces anybody.
/// 3. A better entry displaces the latest entry of the lowest score.
/// 4. Iteration goes from the highest score to the lowest, and within one score from the latest
///    entry to the oldest.
///
/// A dimension below 1 is reported to the assertion hook; such a store refuses every entry.
/// Cost: refusals O(1), `add` O(log of the distinct scores held), `first` and `next` O(1).
/// One thread at a time; const members from any number.
template <class Entry>
class ScoreBuckets {
  public:
    ScoreBuckets(long maxScore, long capacity) : maxScore_(maxScore), capacity_(capacity) {
        if (maxScore < 1 || capacity < 1) rfReportAssertion(kBadDimension);
    }

    // The iteration points into the buckets, so a member-wise copy would walk the original.
    ScoreBuckets(const ScoreBuckets&) = delete;
    ScoreBuckets& operator=(const ScoreBuckets&) = delete;

    /// Offers an entry. An accepted one ends a running iteration.
    /// @return whether the entry was taken; a failure to allocate leaves the store as it was.
    bool add(long score, Entry entry) {
        if (score > maxScore_) rfReportAssertion(kScoreAboveMaximum);
        if (!accepts(score)) return false;

        const bool wasFull = isFull();
        insert(score, std::move(entry));
        // The entry just inserted has a score above the lowest, so it is never the one to go.
        if (wasFull) {
            dropLatestOfLowest();
        } else {
            ++numResults_;
        }
        current_ = nullptr;
        return true;
    }

    /// Starts the iteration.
    /// @return the highest score, whose latest entry becomes `current()`; -1 for an empty store.
    long first() {
        if (buckets_.empty()) return -1;
        bucket_ = std::prev(buckets_.end());
        current_ = &bucket_->second.back();
        return bucket_->first;
    }

    /// Moves the iteration on.
    /// @return the score of the next entry, which becomes `current()`; -1 when none is left (the
    /// iteration then stays at the last entry), or when no iteration is running.
    long next() {
        if (current_ == nullptr) return -1;
        if (current_ != bucket_->second.data()) {
            --current_;
            return bucket_->first;
        }
        if (bucket_ == buckets_.begin()) return -1;
        --bucket_;
        current_ = &bucket_->second.back();
        return bucket_->first;
    }

    /// The same steps, with a copy of the entry in `entry`, which keeps its value for -1.
    long first(Entry& entry) { return copyCurrent(first(), entry); }
    long next(Entry& entry) { return copyCurrent(next(), entry); }

    /// The entry that `first` or `next` returned last; null when no iteration is running. Good
    /// until the next accepted `add`.
    const Entry* current() const { return current_; }

    /// Whether `predicate(entry)` holds for some entry; asks in the order of iteration, which it
    /// does not disturb, and stops at the first hit.
    template <class Predicate>
    bool anyOf(Predicate predicate) const {
        return std::any_of(buckets_.rbegin(), buckets_.rend(), [&](const auto& bucket) {
            return std::any_of(bucket.second.rbegin(), bucket.second.rend(), std::ref(predicate));
        });
    }

    long maxScore() const { return maxScore_; }
    long capacity() const { return capacity_; }
    long numResults() const { return numResults_; }
    bool isFull() const { return numResults_ >= capacity_; }

    /// The highest and the lowest score held; -1 for an empty store.
    long highestScore() const { return buckets_.empty() ? -1 : buckets_.rbegin()->first; }
    long lowestScore() const { return buckets_.empty() ? -1 : buckets_.begin()->first; }

  private:
    // Codes of this store at the assertion hook.
    static constexpr int kBadDimension = 12;
    static constexpr int kScoreAboveMaximum = 420;

    // No bucket is ever empty, so the first and the last key are the lowest and highest score.
    // The latest entry of a bucket stands at its back.
    using Buckets = std::map<long, std::vector<Entry>>;

    bool accepts(long score) const {
        if (maxScore_ < 1 || capacity_ < 1 || score < 0 || score > maxScore_) return false;
        return !isFull() || score > lowestScore();
    }

    void insert(long score, Entry entry) {
        const auto found = buckets_.find(score);
        if (found != buckets_.end()) {
            found->second.push_back(std::move(entry));
            return;
        }
        // Filled before it joins the others, lest a failure leave an empty bucket behind.
        std::vector<Entry> bucket;
        bucket.push_back(std::move(entry));
        buckets_.emplace(score, std::move(bucket));
    }

    void dropLatestOfLowest() {
        const auto lowest = buckets_.begin();
        lowest->second.pop_back();
        if (lowest->second.empty()) buckets_.erase(lowest);
    }

    long copyCurrent(long score, Entry& entry) const {
        if (score >= 0) entry = *current_;
        return score;
    }

    long maxScore_;
    long capacity_;
    long numResults_ = 0;
    Buckets buckets_;
    typename Buckets::const_iterator bucket_;
    const Entry* current_ = nullptr;
};

}  // namespace ptmatch::detail
