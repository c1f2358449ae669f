#pragma once

#include <span>
#include <vector>

namespace ptmatch::detail {

/// Enumerates the one-to-one partial assignments of `numSlots` points to `numPartners` points in
/// the order of an odometer whose first slot turns fastest, each slot running through -1 (nobody),
/// 0, 1, ..., numPartners - 1. Partners that a later slot holds are passed over, so that whole runs
/// of clashing assignments are never formed. The first assignment leaves every slot at -1.
class AssignmentOdometer {
  public:
    AssignmentOdometer(std::size_t numSlots, std::size_t numPartners)
        : partners_(numSlots, -1), isTaken_(numPartners, false) {}

    /// The partner of each slot, -1 = nobody.
    std::span<const long> partners() const { return partners_; }

    /// Moves on to the next assignment; false when all have been seen.
    bool advance() {
        for (long& partner : partners_) {
            if (moveToNextFree(partner)) return true;
        }
        return false;
    }

  private:
    // False when the slot ran out of partners; it then has nobody.
    bool moveToNextFree(long& partner) {
        if (partner >= 0) isTaken_[static_cast<std::size_t>(partner)] = false;
        for (++partner; partner < static_cast<long>(isTaken_.size()); ++partner) {
            if (isTaken_[static_cast<std::size_t>(partner)]) continue;
            isTaken_[static_cast<std::size_t>(partner)] = true;
            return true;
        }
        partner = -1;
        return false;
    }

    std::vector<long> partners_;
    std::vector<bool> isTaken_;
};

}  // namespace ptmatch::detail
