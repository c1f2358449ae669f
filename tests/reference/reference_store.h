#pragma once

#include <algorithm>
#include <utility>
#include <vector>

namespace ptmatch::reference {

/// A list of the best candidates, kept in the order in which it is read: best score first, and
/// within one score the latest first. A full list takes only what beats its lowest score, and lets
/// the latest entry of that lowest score go.
template <typename Entry>
class CandidateList {
  public:
    struct Item {
        long score;
        Entry entry;
    };

    CandidateList(long maxScore, long capacity) : maxScore_(maxScore), capacity_(capacity) {}

    bool add(long score, Entry entry) {
        if (score < 0 || score > maxScore_) return false;
        if (isFull()) {
            if (score <= lowestScore()) return false;
            items_.erase(firstNotAbove(lowestScore()));
        }
        items_.insert(firstNotAbove(score), Item{score, std::move(entry)});
        return true;
    }

    [[nodiscard]] long capacity() const { return capacity_; }
    [[nodiscard]] bool isFull() const { return static_cast<long>(items_.size()) >= capacity_; }
    [[nodiscard]] long lowestScore() const { return items_.empty() ? -1 : items_.back().score; }
    [[nodiscard]] const std::vector<Item>& bestFirst() const { return items_; }

  private:
    auto firstNotAbove(long score) {
        return std::find_if(items_.begin(), items_.end(),
                            [score](const Item& item) { return item.score <= score; });
    }

    long maxScore_;
    long capacity_;
    std::vector<Item> items_;
};

}  // namespace ptmatch::reference
