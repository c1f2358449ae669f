#pragma once

#include <cstddef>
#include <iterator>
#include <list>
#include <optional>
#include <vector>

namespace ptmatch::testing {

/// The bounded store by its plain rules, for small dimensions: a list for every score and two
/// marks that are walked one score at a time, with nothing derived and nothing skipped. The
/// judge of `rxScoreHashing` and `ScoreBuckets`, with whose code it shares nothing.
template <class Entry>
class LiteralScoreStore {
  public:
    /// How the marks move when a full store evicts.
    enum class Marks {
        kPositions,   ///< the low mark walks as far as the old high mark, then both are updated
        kCandidates,  ///< the low mark walks as far as the new score, then the high one is updated
    };

    LiteralScoreStore(Marks marks, long maxScore, long capacity)
        : marks_(marks),
          maxScore_(maxScore),
          capacity_(capacity),
          lists_(static_cast<std::size_t>(maxScore + 1)) {}

    bool add(long score, const Entry& entry) {
        if (score < 0 || score > maxScore_) return false;
        if (numResults_ < capacity_) {
            if (numResults_ == 0) {
                high_ = low_ = score;
            } else {
                updateBothMarks(score);
            }
        } else {
            if (score <= low_) return false;
            list(low_).pop_front();
            if (marks_ == Marks::kPositions) {
                walkTowardsOldHigh(score);
                updateBothMarks(score);
            } else {
                while (low_ < score && list(low_).empty()) low_ += 1;
                if (score > high_) high_ = score;
            }
            numResults_ -= 1;
        }
        list(score).push_front(entry);
        numResults_ += 1;
        return true;
    }

    long first(Entry& entry) {
        if (numResults_ < 1) return -1;
        iterScore_ = high_;
        iterPlace_ = 0;
        entry = list(iterScore_).front();
        return iterScore_;
    }

    long next(Entry& entry) {
        if (!iterPlace_) return -1;
        if (*iterPlace_ + 1 < list(iterScore_).size()) {
            iterPlace_ = *iterPlace_ + 1;
        } else {
            if (iterScore_ <= low_) return -1;
            iterScore_ -= 1;
            while (iterScore_ != low_ && list(iterScore_).empty()) iterScore_ -= 1;
            iterPlace_ = 0;
        }
        entry = *std::next(list(iterScore_).begin(), static_cast<std::ptrdiff_t>(*iterPlace_));
        return iterScore_;
    }

    void clear() {
        for (auto& list : lists_) list.clear();
        numResults_ = 0;
        low_ = high_ = iterScore_ = -1;
        iterPlace_.reset();
    }

    long numResults() const { return numResults_; }
    long highestScore() const { return high_; }
    long lowestScore() const { return low_; }

  private:
    std::list<Entry>& list(long score) { return lists_[static_cast<std::size_t>(score)]; }

    void walkTowardsOldHigh(long newScore) {
        if (!list(low_).empty()) return;
        // The only entry was evicted: there is nothing to walk to.
        if (numResults_ == 1) {
            low_ = newScore;
            return;
        }
        do {
            low_ += 1;
        } while (low_ < high_ && list(low_).empty());
    }

    void updateBothMarks(long score) {
        if (score < low_) {
            low_ = score;
        } else if (score > high_) {
            high_ = score;
        }
    }

    Marks marks_;
    long maxScore_;
    long capacity_;
    std::vector<std::list<Entry>> lists_;
    long numResults_ = 0;
    long high_ = -1;
    long low_ = -1;
    long iterScore_ = -1;
    std::optional<std::size_t> iterPlace_;
};

}  // namespace ptmatch::testing
