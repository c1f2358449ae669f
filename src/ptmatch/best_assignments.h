#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "ptmatch/ranked_pose.h"

namespace ptmatch::detail {

/// The partner of each slot of an assignment, -1 = nobody.
using Partners = std::vector<std::int32_t>;

/// Whether a comes before b when the first slot turns fastest: the last slot in which they differ
/// decides.
inline bool isEarlier(const Partners& a, const Partners& b) {
    return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

/// The best poses of all that it is given, up to a limit. Complete ties are decided by the
/// assignments, so that the order in which they come does not matter.
/// A heap with the worst on top; cost of an offer: logarithmic in the limit.
class BestAssignments {
  public:
    /// @param limit  at least 1.
    explicit BestAssignments(std::size_t limit) : limit_(limit) {}

    bool isFull() const { return entries_.size() == limit_; }

    /// Captured weight of the worst pose kept; there must be one.
    long worstCount() const { return entries_.front().count; }

    /// @param count  the captured weight, of which the coverage is a rising function.
    void offer(const Partners& partners, RankedPose pose, long count) {
        Entry entry{std::move(pose), partners, count};
        if (isFull()) {
            if (!comesBefore(entry, entries_.front())) return;
            std::pop_heap(entries_.begin(), entries_.end(), comesBefore);
            entries_.back() = std::move(entry);
        } else {
            entries_.push_back(std::move(entry));
        }
        std::push_heap(entries_.begin(), entries_.end(), comesBefore);
    }

    /// All poses, best first. Leaves nothing behind.
    std::vector<RankedPose> take() {
        std::sort(entries_.begin(), entries_.end(), comesBefore);
        std::vector<RankedPose> poses;
        poses.reserve(entries_.size());
        for (Entry& entry : entries_) poses.push_back(std::move(entry.pose));
        entries_.clear();
        return poses;
    }

  private:
    struct Entry {
        RankedPose pose;
        Partners partners;
        long count;
    };

    static bool comesBefore(const Entry& a, const Entry& b) {
        if (isBetter(a.pose, b.pose)) return true;
        if (isBetter(b.pose, a.pose)) return false;
        return isEarlier(a.partners, b.partners);
    }

    std::size_t limit_;
    std::vector<Entry> entries_;
};

}  // namespace ptmatch::detail
